#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// The localised strings of one language: the property list "<language>.plist" in the folder
/// "Zynwerks" of Application Support, read once when the object is made.
///
/// One lives for the duration of one request, so a changed file is seen by the next. Main thread
/// only; the constructor reads a file and may block on it. Failures are silent: without a table
/// the keys stand for themselves.
class CLanguageSupport {
  public:
    /// `languageName` is zero-terminated, in the system encoding. Never throws for a missing,
    /// unreadable or malformed file.
    explicit CLanguageSupport(const char* languageName);
    CLanguageSupport(const CLanguageSupport&) = delete;
    CLanguageSupport& operator=(const CLanguageSupport&) = delete;
    virtual ~CLanguageSupport();

    /// With a table: its string for the key, borrowed, or null when it has none (a table that is
    /// not a dictionary has none, nor does a value that is not a string count). Without a table: a
    /// copy of the key, owned by the caller. `HasTable` tells the two apart.
    CFStringRef CopyStringForKey(CFStringRef key);

    /// Whether a language file was read.
    bool HasTable() const { return mTable != nullptr; }

    /// The instance constructed last; null once it is destroyed.
    static CLanguageSupport* sSelf;

  private:
    /// Owned; null when no file was loaded. The root's type is checked at the look-up only.
    CFDictionaryRef mTable = nullptr;
};
