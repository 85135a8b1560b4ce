// The host's utility library (YR_Utility.dll on Windows).
#ifndef KX_HOST_YR_UTILITY_H_
#define KX_HOST_YR_UTILITY_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32)
#if defined(YR_UTILITY_BUILDING)
#define YR_UTILITY_API __declspec(dllexport)
#else
#define YR_UTILITY_API __declspec(dllimport)
#endif
#else
#define YR_UTILITY_API __attribute__((visibility("default")))
#endif

// The number of logical processors of the machine.
YR_UTILITY_API int32_t cpu_num_processors(void);

#ifdef __cplusplus
}
#endif

#endif  // KX_HOST_YR_UTILITY_H_
