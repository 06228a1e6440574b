#ifndef TESSELU_FOUNDATION_EXPORT_H
#define TESSELU_FOUNDATION_EXPORT_H

/// Marks what the shared library exports. Nothing else is visible.
/// On Windows, TESSELU_STATIC must be defined where the static library is linked; its CMake target and
/// `pkg-config --static` see to that.
#if defined(_WIN32) && defined(TESSELU_STATIC)
#define TESSELU_API
#elif defined(_WIN32) && defined(TESSELU_BUILDING)
#define TESSELU_API __declspec(dllexport)
#elif defined(_WIN32)
#define TESSELU_API __declspec(dllimport)
#elif defined(__GNUC__)
#define TESSELU_API __attribute__((visibility("default")))
#else
#define TESSELU_API
#endif

#endif  // TESSELU_FOUNDATION_EXPORT_H
