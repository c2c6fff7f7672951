#pragma once

// Inside of the layer only, never installed: the thread that takes in what arrives.

#include <CoreMIDI/Sequencer.h>

#include <functional>
#include <thread>

namespace kivo::midi {

/// Reads a connection's events on a thread of its own, which sleeps while nothing arrives, and ends
/// by itself when the sequencer can no longer be read. What arrives faster than it is taken is
/// dropped by the sequencer, whose queue is of fixed length; memory does not grow.
class InputReader {
  public:
    using Delivery = std::function<void(const Event&)>;

    /// Starts reading; `deliver` is called on the thread, for events that carry bytes, and must not
    /// throw. The sequencer must outlive this object. Throws std::system_error when the system has
    /// no thread or descriptor left.
    InputReader(Sequencer& sequencer, Delivery deliver);
    /// Waits for a delivery that is under way.
    ~InputReader();
    InputReader(const InputReader&) = delete;
    InputReader& operator=(const InputReader&) = delete;

    bool IsOnThisThread() const { return std::this_thread::get_id() == mThread.get_id(); }

  private:
    /// A descriptor that becomes readable when the thread is to end.
    class StopSignal {
      public:
        StopSignal();
        ~StopSignal();
        StopSignal(const StopSignal&) = delete;
        StopSignal& operator=(const StopSignal&) = delete;
        void Give() const;
        int Descriptor() const { return mDescriptor; }

      private:
        int mDescriptor;
    };

    void Run();
    bool WaitForInput() const;
    bool TakeWhatIsThere();

    Sequencer& mSequencer;
    Delivery mDeliver;
    StopSignal mStop;
    std::thread mThread;
};

}  // namespace kivo::midi
