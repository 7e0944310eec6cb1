#pragma once

// The version of this library. The build takes it from here.
#define KEST_VERSION_MAJOR 0      ///< before 1.0 every minor version may change the interface
#define KEST_VERSION_MINOR 1      ///< of the interface
#define KEST_VERSION_PATCH 0      ///< of what lies behind it
#define KEST_VERSION_TEXT "0.1.0" ///< all three, with dots
/// One number to compare with: 100 for version 0.1.0.
#define KEST_VERSION_NUMBER (KEST_VERSION_MAJOR * 10000 + KEST_VERSION_MINOR * 100 + KEST_VERSION_PATCH)
