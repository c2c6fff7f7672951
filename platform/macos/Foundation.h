#pragma once

// For the Objective-C++ files of this folder only: what crosses the border between Foundation
// objects and the C interface of platform/Workspace.h.

#include <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

namespace kivo {

/// Gives back, at the end of its block, what the Foundation lent meanwhile. The daemon runs outside
/// of an application object, which would do so for each event.
class AutoreleasePool {
  public:
    AutoreleasePool() : mPool([[NSAutoreleasePool alloc] init]) {}
    ~AutoreleasePool() { [mPool drain]; }
    AutoreleasePool(const AutoreleasePool&) = delete;
    AutoreleasePool& operator=(const AutoreleasePool&) = delete;

  private:
    NSAutoreleasePool* mPool;
};

/// Hands an object out under the Create rule, as the toll-free bridged type `Ref`; null for nil.
template <typename Ref>
[[nodiscard]] Ref Created(id object) {
    const void* retained = [object retain];
    return static_cast<Ref>(retained);
}

/// The Foundation object of class `Class` that a reference stands for, lent.
template <typename Class>
[[nodiscard]] Class* Lent(CFTypeRef object) {
    return static_cast<Class*>(const_cast<void*>(object));
}

}  // namespace kivo
