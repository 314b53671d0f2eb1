// Empty: CMake compiles precompiled headers with a source file.
