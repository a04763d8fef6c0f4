// Carries the precompiled headers of the tests; see Testing.cmake.
