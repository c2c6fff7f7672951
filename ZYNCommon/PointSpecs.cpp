#include "ZYNCommon/PointSpecs.h"

#include "ZYNCommon/FieldRun.h"
#include "ZYNCommon/Truncation.h"

using kivo::DeserializeFieldRun;
using kivo::SerializeFieldRun;
using kivo::TruncateToInt32;

SPointSpec::SPointSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SPointSpec::SPointSpec(int pointX, int pointY) : SPointSpec() {
    x = pointX;
    y = pointY;
}

unsigned char* SPointSpec::Serialize() {
    return SerializeFieldRun(*this, serialBuffer, x, y);
}

void SPointSpec::Deserialize(const unsigned char* src) {
    DeserializeFieldRun(*this, src, x, y);
}

SPointSizeSpec::SPointSizeSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SPointSizeSpec::SPointSizeSpec(CGPoint& origin, CGSize& size) : SPointSizeSpec() {
    x = TruncateToInt32(origin.x);
    y = TruncateToInt32(origin.y);
    width = TruncateToInt32(size.width);
    height = TruncateToInt32(size.height);
}

unsigned char* SPointSizeSpec::Serialize() {
    return SerializeFieldRun(*this, serialBuffer, x, y, width, height);
}

void SPointSizeSpec::Deserialize(const unsigned char* src) {
    DeserializeFieldRun(*this, src, x, y, width, height);
}

STargetPointSizeSpec::STargetPointSizeSpec() {
    serialBufferSize = sizeof serialBuffer;
}

STargetPointSizeSpec::STargetPointSizeSpec(unsigned int index, CGPoint& origin, CGSize& size)
    : STargetPointSizeSpec() {
    targetIndex = index;
    x = TruncateToInt32(origin.x);
    y = TruncateToInt32(origin.y);
    width = TruncateToInt32(size.width);
    height = TruncateToInt32(size.height);
}

unsigned char* STargetPointSizeSpec::Serialize() {
    return SerializeFieldRun(*this, serialBuffer, targetIndex, x, y, width, height);
}

void STargetPointSizeSpec::Deserialize(const unsigned char* src) {
    DeserializeFieldRun(*this, src, targetIndex, x, y, width, height);
}
