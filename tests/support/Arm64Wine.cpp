// A work-around for a fault of the Wine under which the test programs for ARM64 run, not of
// ours; Windows needs none of this. That Wine is compiled as the host's programs are, and
// those differ from Windows' in lists of variable arguments. The other fault that comes of it
// is in tools/common/ThreadRegister.cpp.
#include <windows.h>

#include <cstdarg>
#include <cstdio>

// Its C run-time library takes the lists of variable arguments for the host's, and reads from a
// wild address. MinGW has functions of its own that do the same.
extern "C" {

int __stdio_common_vfprintf(unsigned long long, FILE* file, const char* format, _locale_t,
                            va_list arguments) {
  return __mingw_vfprintf(file, format, arguments);
}

int __stdio_common_vsprintf(unsigned long long, char* text, size_t size, const char* format, _locale_t,
                            va_list arguments) {
  return __mingw_vsnprintf(text, size, format, arguments);
}

int __stdio_common_vswprintf(unsigned long long, wchar_t* text, size_t size, const wchar_t* format, _locale_t,
                             va_list arguments) {
  return __mingw_vsnwprintf(text, size, format, arguments);
}

int __stdio_common_vsscanf(unsigned long long, const char* text, size_t, const char* format, _locale_t,
                           va_list arguments) {
  return __mingw_vsscanf(text, format, arguments);
}

}  // extern "C"
