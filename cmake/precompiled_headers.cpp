// Carries precompiled headers; see PrecompiledHeaders.cmake and Testing.cmake.
