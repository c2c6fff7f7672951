#pragma once

#include <CoreFoundation/CFCGTypes.h>

#include "ZYNCommon/SMessageSpec.h"

/// The replies of the daemon: where the pointer or a window is. Coordinates have their origin at
/// the top left of the primary display, y grows downward; sizes are in the same points.

/// A point; the reply to 'ZGlM'.
struct SPointSpec : SMessageSpec {
    SPointSpec();
    SPointSpec(int x, int y);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    int x = 0;
    int y = 0;
    unsigned char serialBuffer[8] = {};
};

/// A window's place and size; the reply to 'ZWiP'.
struct SPointSizeSpec : SMessageSpec {
    SPointSizeSpec();
    /// Truncates each double as `kivo::TruncateToInt32` does.
    SPointSizeSpec(CGPoint& origin, CGSize& size);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    unsigned char serialBuffer[16] = {};
};

/// The same with the index of the target-window record that matched; the reply to 'ZTWP'.
struct STargetPointSizeSpec : SMessageSpec {
    STargetPointSizeSpec();
    /// Truncates each double as `kivo::TruncateToInt32` does.
    STargetPointSizeSpec(unsigned int targetIndex, CGPoint& origin, CGSize& size);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int targetIndex = 0;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    unsigned char serialBuffer[20] = {};
};
