#pragma once

/// Marks a class or function as part of the shared library's interface: everything else is compiled with
/// hidden visibility and cannot be reached from outside. SORVIK_LOCAL takes a member of an exported class
/// out.
#if defined(__GNUC__)
#define SORVIK_API __attribute__((visibility("default")))
#define SORVIK_LOCAL __attribute__((visibility("hidden")))
#else
#define SORVIK_API
#define SORVIK_LOCAL
#endif
