#pragma once

/// Marks what libVantiflux shows to its users; everything else in the library has hidden visibility.
#define VANTIFLUX_API __attribute__((visibility("default")))
