#pragma once

/// Marks what the shared library exports; everything else stays hidden.
#define ORV_API __attribute__((visibility("default")))
/// Keeps a private member of an exported class inside the library, where calls of it then cost no detour.
#define ORV_LOCAL __attribute__((visibility("hidden")))
