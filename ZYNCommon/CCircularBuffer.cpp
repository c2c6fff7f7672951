#include "ZYNCommon/CCircularBuffer.h"

#include <algorithm>

namespace {

/// Holds the busy flag for the length of an operation.
class BusyFlag {
  public:
    explicit BusyFlag(bool& busy) : mBusy(busy) { mBusy = true; }
    BusyFlag(const BusyFlag&) = delete;
    BusyFlag& operator=(const BusyFlag&) = delete;
    ~BusyFlag() { mBusy = false; }

  private:
    bool& mBusy;
};

/// Whether a stretch that may wrap round once stays inside the ring.
bool LiesInRing(unsigned int mark, unsigned int count) {
    return mark < CCircularBuffer::kCapacity && count <= CCircularBuffer::kCapacity;
}

}  // namespace

// The ring's bytes stay as they are found: only what was written is ever read.
CCircularBuffer::CCircularBuffer() : inMark(0), outMark(0), busy(false), spare(0) {}

CCircularBuffer::~CCircularBuffer() = default;

void CCircularBuffer::AddBytes(const unsigned char* src, unsigned int count) {
    if (busy || !LiesInRing(inMark, count)) return;
    const BusyFlag flag(busy);
    if (inMark + count > kCapacity) {
        const unsigned int upToEnd = kCapacity - inMark;
        CopyBytes(src, data + inMark, upToEnd);
        CopyBytes(src + upToEnd, data, count - upToEnd);
        inMark = count - upToEnd;
    } else {
        CopyBytes(src, data + inMark, count);
        inMark += count;
        if (inMark == kCapacity) inMark = 0;
    }
}

void CCircularBuffer::AddByte(unsigned char value) {
    if (busy || !LiesInRing(inMark, 1)) return;
    const BusyFlag flag(busy);
    data[inMark++] = value;
    if (inMark == kCapacity) inMark = 0;
}

unsigned int CCircularBuffer::GetBytes(unsigned char* dst, unsigned int count) {
    if (busy) return 0;
    const unsigned int taken = std::min(count, BytesRemaining());
    if (taken == 0 || !LiesInRing(outMark, taken)) return 0;
    const BusyFlag flag(busy);
    if (outMark + taken > kCapacity) {
        const unsigned int upToEnd = kCapacity - outMark;
        CopyBytes(data + outMark, dst, upToEnd);
        CopyBytes(data, dst + upToEnd, taken - upToEnd);
        outMark = taken - upToEnd;
    } else {
        CopyBytes(data + outMark, dst, taken);
        outMark += taken;
        if (outMark == kCapacity) outMark = 0;
    }
    return taken;
}

bool CCircularBuffer::GetByte(unsigned char* dst) {
    if (busy || IsEmpty() || !LiesInRing(outMark, 1)) return false;
    const BusyFlag flag(busy);
    *dst = data[outMark++];
    if (outMark == kCapacity) outMark = 0;
    return true;
}

unsigned int CCircularBuffer::BytesRemaining() {
    if (inMark >= outMark) return inMark - outMark;
    return kCapacity - outMark + inMark;
}

unsigned int CCircularBuffer::MoveOutMarkBy(unsigned int count) {
    if (busy) return 0;
    const unsigned int available = BytesRemaining();
    if (available == 0) return 0;
    const BusyFlag flag(busy);
    const unsigned int skipped = std::min(count, available);
    outMark += skipped;
    if (outMark >= kCapacity) outMark -= kCapacity;
    return skipped;
}

void CCircularBuffer::Reset(unsigned int newInMark, unsigned int newOutMark) {
    const BusyFlag flag(busy);
    inMark = newInMark;
    outMark = newOutMark;
}

bool CCircularBuffer::IsEmpty() {
    return inMark == outMark;
}

void CCircularBuffer::CopyBytes(const unsigned char* src, unsigned char* dst, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
        dst[i] = src[i];
    }
}
