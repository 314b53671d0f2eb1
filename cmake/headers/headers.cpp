// Nothing: CMake compiles precompiled headers with a source.
