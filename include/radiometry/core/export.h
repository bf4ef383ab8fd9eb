#pragma once

#if defined(_WIN32)
#if defined(RADIOMETRY_BUILD)
#define RADIOMETRY_EXPORT __declspec(dllexport)
#else
#define RADIOMETRY_EXPORT __declspec(dllimport)
#endif
#else
#define RADIOMETRY_EXPORT __attribute__((visibility("default")))
#endif
