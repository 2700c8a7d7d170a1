#pragma once

/// Marks what the shared library exports; everything else stays hidden.
#define ORV_API __attribute__((visibility("default")))
