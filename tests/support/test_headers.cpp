// Empty: compiles the tests' precompiled headers.
