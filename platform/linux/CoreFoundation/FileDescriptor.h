#pragma once

#include <unistd.h>

#include <utility>

namespace kivo {

/// Owns a descriptor and closes it when it goes.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    /// Takes over what a system call returned; -1 is none.
    explicit FileDescriptor(int descriptor) : mDescriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : mDescriptor(std::exchange(other.mDescriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        FileDescriptor old(std::exchange(mDescriptor, std::exchange(other.mDescriptor, -1)));
        return *this;
    }
    ~FileDescriptor() {
        if (mDescriptor >= 0) close(mDescriptor);
    }

    int Get() const { return mDescriptor; }
    explicit operator bool() const { return mDescriptor >= 0; }
    void Close() { *this = FileDescriptor(); }

  private:
    int mDescriptor = -1;
};

}  // namespace kivo
