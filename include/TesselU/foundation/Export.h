#ifndef TESSELU_FOUNDATION_EXPORT_H
#define TESSELU_FOUNDATION_EXPORT_H

/// Marks what the shared library exports. Nothing else is visible.
#if defined(_WIN32) && defined(TESSELU_BUILDING)
#define TESSELU_API __declspec(dllexport)
#elif defined(_WIN32) && defined(TESSELU_SHARED)
#define TESSELU_API __declspec(dllimport)
#elif defined(__GNUC__)
#define TESSELU_API __attribute__((visibility("default")))
#else
#define TESSELU_API
#endif

#endif  // TESSELU_FOUNDATION_EXPORT_H
