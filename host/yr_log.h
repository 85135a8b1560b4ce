// The host's logging library (YR_Log.DLL on Windows). The module imports these
// two functions; this stand-in lets the module run and be tested outside the
// conversion host.
#ifndef KX_HOST_YR_LOG_H_
#define KX_HOST_YR_LOG_H_

#ifdef __cplusplus
extern "C" {
#else
#include <uchar.h>
#endif

#if defined(_WIN32)
#if defined(YR_LOG_BUILDING)
#define YR_LOG_API __declspec(dllexport)
#else
#define YR_LOG_API __declspec(dllimport)
#endif
#else
#define YR_LOG_API __attribute__((visibility("default")))
#endif

// Logs a NUL-terminated UTF-16 text unchanged.
YR_LOG_API void HostLogText(const char16_t* text);

// printf-style: %s and %ls take UTF-16 text, %d a 32-bit int, %c a character,
// %f (with flags, width and precision) a double, %% a percent sign.
YR_LOG_API void HostLogFormat(const char16_t* format, ...);

#ifdef __cplusplus
}
#endif

#endif  // KX_HOST_YR_LOG_H_
