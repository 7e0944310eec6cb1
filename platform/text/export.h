#pragma once

/// KEST_API marks what the library exports; everything else stays hidden.
#if defined(KEST_STATIC)
#define KEST_API
#elif defined(_WIN32)
#if defined(KEST_BUILDING_LIBRARY)
#define KEST_API __declspec(dllexport)
#else
#define KEST_API __declspec(dllimport)
#endif
#else
#define KEST_API __attribute__((visibility("default")))
#endif
