#pragma once

#if defined(_WIN32)
#if defined(TESSIK_PLATFORM_BUILD)
#define TESSIK_PLATFORM_EXPORT __declspec(dllexport)
#else
#define TESSIK_PLATFORM_EXPORT __declspec(dllimport)
#endif
#if defined(TESSIK_READERS_BUILD)
#define TESSIK_READERS_EXPORT __declspec(dllexport)
#else
#define TESSIK_READERS_EXPORT __declspec(dllimport)
#endif
#else
#define TESSIK_PLATFORM_EXPORT __attribute__((visibility("default")))
#define TESSIK_READERS_EXPORT __attribute__((visibility("default")))
#endif
