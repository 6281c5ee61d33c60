#pragma once

/// Marks a class or function as part of the shared library's interface: everything else is compiled with
/// hidden visibility and cannot be reached from outside.
#if defined(__GNUC__)
#define SORVIK_API __attribute__((visibility("default")))
#else
#define SORVIK_API
#endif
