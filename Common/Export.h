#pragma once

/// Marks what a shared library of this project offers to others; all else is hidden.
#if defined(_WIN32)
#define JSONDEVICE_EXPORT __declspec(dllexport)
#else
#define JSONDEVICE_EXPORT __attribute__((visibility("default")))
#endif
