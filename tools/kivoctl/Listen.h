#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "PublicUtility/CACFMessagePort.h"
#include "tools/kivoctl/Adviser.h"
#include "tools/kivoctl/Arguments.h"
#include "tools/kivoctl/Inbox.h"
#include "tools/kivoctl/KeyEvent.h"
#include "tools/kivoctl/Printer.h"
#include "tools/kivoctl/Questions.h"

namespace kivo::ctl {

/// How to listen, and when to end by itself.
struct ListenOptions {
    bool json = false;
    bool commands = false;  ///< Take commands from standard input.
    bool showKeys = false;
    SwallowRule swallow;
    std::string adviser;  ///< The command that is asked about keys; empty: none is.
    UInt32 units = 1;
    UInt32 channels = 8;
    std::optional<SInt32> untilCode;
    std::optional<unsigned long> count;
    std::optional<double> timeoutSeconds;

    /// Whether something other than the user ends the listening.
    bool EndsByItself() const { return untilCode || count || timeoutSeconds; }
};

/// Throws UsageFailure.
ListenOptions ParseListenOptions(std::span<const std::string> words);

/// The control center's end of the link: owns its port, tells every message, answers those that
/// want an answer, and carries out the commands of a session. Lives on one thread.
class Listener {
  public:
    /// Takes the port. Throws Failure: kNameTaken, or kBroken when it cannot be made.
    /// `printer` must outlive the listener.
    Listener(const ListenOptions& options, Printer* printer);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Says that the port is owned and listens until told to end, or until what the options wait
    /// for has come (kAnswered) or has not come in time (kNoAnswer). Switches the forwarding of
    /// keys off at the end.
    ExitCode Run();

  private:
    ExitCode ListenToTheEnd();
    void GiveKeysBack();
    void TakePort();
    void AnnouncePort();

    // Messages from the daemon.
    static CFDataRef MessageEntry(CFMessagePortRef port, SInt32 code, CFDataRef data, void* info);
    CFRef<CFDataRef> TakeMessage(SInt32 code, std::span<const UInt8> payload);
    CFRef<CFDataRef> AnswerKeyEvent(std::span<const UInt8> payload);
    std::optional<bool> Judge(const KeyEvent& event);
    void TellOfSilence(bool isSilent);
    CFRef<CFDataRef> AnswerStatusRequest();
    /// Prints a message of the daemon and counts it.
    void Tell(const Message& message);
    void EndWhenMet(SInt32 code);

    /// Prints a line, and ends the listening when nobody reads any more.
    void Print(const Message& message);

    // Commands of a session.
    void TakeEvent(const Inbox::Event& event);
    void TakeCommand(const std::string& line);
    void Execute(std::span<const std::string> words);
    void ExecuteStatus(std::span<const std::string> words);

    ListenOptions mOptions;
    Printer* mPrinter;
    unsigned long mTold = 0;
    std::optional<ExitCode> mEnd;
    /// Whether keys are forwarded, as far as is known here.
    bool mIsForwarding = false;
    bool mIsAdviserSilent = false;
    std::optional<Adviser> mAdviser;
    std::unique_ptr<CACFLocalMessagePort> mPort;
};

}  // namespace kivo::ctl
