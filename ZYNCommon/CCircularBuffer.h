#pragma once

/// A ring of 32768 bytes with a write mark and a read mark.
///
/// It is empty when the marks are equal, and there is no full state: after exactly 32768 bytes more
/// written than read it reads as empty again, and unread bytes are overwritten without notice. An
/// operation that finds another one on the same buffer under way does nothing; that guards against
/// re-entry, not between threads. Nor does an operation do anything that would touch bytes outside
/// the ring, which takes a count above the capacity or a mark that Reset placed outside.
class CCircularBuffer {
  public:
    static constexpr unsigned int kCapacity = 32768;

    CCircularBuffer();
    virtual ~CCircularBuffer();

    void AddBytes(const unsigned char* src, unsigned int count);
    void AddByte(unsigned char value);
    /// Returns how many bytes were copied: `count` or as many as are left, if fewer.
    unsigned int GetBytes(unsigned char* dst, unsigned int count);
    /// False when empty; then the destination is untouched.
    bool GetByte(unsigned char* dst);
    unsigned int BytesRemaining();
    /// Skips bytes and returns how many: `count` or as many as are left, if fewer.
    unsigned int MoveOutMarkBy(unsigned int count);
    /// Stores both marks unchecked, even while another operation is under way.
    void Reset(unsigned int inMark, unsigned int outMark);
    bool IsEmpty();
    /// Copies byte by byte, first to last; touches no member.
    void CopyBytes(const unsigned char* src, unsigned char* dst, unsigned int count);

  protected:
    unsigned char data[kCapacity];
    unsigned int inMark;
    unsigned int outMark;
    bool busy;
    unsigned int spare;
};
