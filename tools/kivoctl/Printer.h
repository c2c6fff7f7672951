#pragma once

#include <cstdio>

#include "tools/kivoctl/Message.h"

namespace kivo::ctl {

enum class Form { kWords, kJson };
enum class Stamp { kNone, kTime };

/// Writes messages, one line each, handed on at once so that a pipe sees them as they happen.
///
/// A time stamp is local time of the day before words, and a key "time" in UTC, ISO 8601 with
/// milliseconds, at the head of a JSON object.
class Printer {
  public:
    /// `stream` is not owned.
    Printer(std::FILE* stream, Form form, Stamp stamp)
        : mStream(stream), mForm(form), mStamp(stamp) {}

    void Print(const Message& message);

    /// Whether the reader has gone, or the disk is full: nothing more can be written.
    bool IsBroken() const { return mError != 0; }

    /// Throws Failure kBroken when a line could not be written. A reader who has gone is no
    /// failure: they have seen enough.
    void CheckWritten() const;

  private:
    std::string Line(const Message& message) const;

    std::FILE* mStream;
    Form mForm;
    Stamp mStamp;
    int mError = 0;  ///< The errno of the first write that failed.
};

}  // namespace kivo::ctl
