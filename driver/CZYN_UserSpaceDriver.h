#pragma once

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreMIDI/CoreMIDI.h>

#include <string>
#include <vector>

#include "PublicUtility/CACFMessagePort.h"
#include "ZYNCommon/ControllerNames.h"
#include "ZYNCommon/ZYN_Driver_TargetWindowInfo.h"
#include "driver/ZYN_EventTapper.h"
#include "platform/CFRef.h"
#include "platform/Workspace.h"

/// The daemon's one object: it stands between the control center and the desktop.
///
/// Everything happens in callbacks on the main run loop, and one thread owns all state, so nothing
/// is locked. A send that waits for a reply runs the loop, so requests and ticks may nest in it.
/// Callbacks of the platform enter through the static functions ending in `Entry`, which do
/// nothing while there is no driver and let no exception out.
class CZYN_UserSpaceDriver {
  public:
    /// Takes the local port and, if that succeeded, starts up in a fixed order: run-loop source,
    /// MIDI, remote port, connect message, accessibility alert, watchdog. A step that fails is
    /// survived and never tried again. Without the local port, which another daemon holds then, the
    /// object stays idle.
    CZYN_UserSpaceDriver();

    /// Stops the watchdog, says good-bye to the control center, leaves MIDI and gives the message
    /// ports back.
    virtual ~CZYN_UserSpaceDriver();
    CZYN_UserSpaceDriver(const CZYN_UserSpaceDriver&) = delete;
    CZYN_UserSpaceDriver& operator=(const CZYN_UserSpaceDriver&) = delete;

    /// Whether a window's title is what was wanted: contains it when `partial` is set, else equals
    /// it. Case counts, canonically equivalent texts are equal. An absent window title decides
    /// first: it equals everything and contains nothing. An absent wanted title matches nothing.
    virtual bool MatchWindowTitle(NSString* windowTitle, NSString* wanted, bool partial);

    /// The one driver, or null.
    static CZYN_UserSpaceDriver* Driver() { return sSelf; }

    /// For SIGINT: the first has the main loop end, after which `main` deletes the driver; the
    /// second ends the process at once with status 0.
    static void SignalHandler(int signal);

    /// Runs the calling thread's run loop.
    void Run();

    // Messages

    /// Sends to the control center; `wantReply` with a place for the reply waits for it, at most
    /// 0.01 s each for sending and receiving, and runs the loop meanwhile. `*reply` is then owned
    /// by the caller. Returns a message-port status, 0 for success, -2 also when there is no remote
    /// port. Writes one line to the system log whatever comes of it.
    SInt32 SendMessage(SInt32 msgid, unsigned char* bytes, unsigned int length, bool wantReply,
                       CFDataRef* reply);

    static CFDataRef MessageCallbackEntry(CFMessagePortRef port, SInt32 msgid, CFDataRef data,
                                          void* info);

    /// Answers one request: an owned reply, or null for none. Unknown codes and payloads that are
    /// not whole get none and change nothing.
    CFDataRef MessageCallback(CFMessagePortRef port, SInt32 msgid, CFDataRef data, void* info);

    // Connection and watchdog

    /// Tell the control center that the daemon came or goes; true when the message went out.
    bool SendConnectMessage();
    bool SendDisconnectMessage();

    void StartTimeoutCounter();
    void StopTimeoutCounter();
    static void TimeoutCounterEntry(CFRunLoopTimerRef timer, void* info);
    /// One tick of 0.1 s: the language until it went out once, then each change of the front
    /// application.
    void TimeoutCounter();

    /// Asks the control center for its counts and keeps them; a reply that is too short is ignored.
    void RequestVRTStatus();
    /// Keeps the counts of a status reply of 28 bytes.
    void SetVRTStatus(unsigned char* reply);
    bool RequestConnectState() const { return mConnectState; }
    /// The control center's counts; 0 without a driver or before a status reply came.
    static unsigned short GetUnitCount();
    static unsigned short GetChannelCount();

    // Language

    /// Reads the language's name from the bundle, keeps it and sends it to the control center.
    /// False when it cannot be read or is too long.
    bool GetLocale();
    /// Copies the language's name into `destination` as strncpy does: padded with zero bytes, and
    /// not terminated when it takes `length` bytes or more.
    void GetCurrentLanguage(char* destination, unsigned int length);

    // Controller

    /// Registers with MIDI and connects to the controller, if it is there. Nothing that fails is
    /// reported or tried again: a controller that is plugged in later is not found.
    void MIDISignIn();
    /// Forgets the MIDI client and the connection, and leaves them to the end of the process.
    void MIDISignOut();
    /// Finds the controller and connects the input port to it; false when there is none.
    bool DoConnect();
    /// Finds the controller's first source and destination; on failure both stay as they were.
    bool LocateController();
    /// The first device of the controller's name, or 0.
    MIDIDeviceRef LocateControllerDevice();
    /// The device's first entity of the fixed name, or 0. Nothing uses the echo entity.
    MIDIEntityRef LocateControllerPrivateEntity(MIDIDeviceRef device);
    MIDIEntityRef LocateControllerEchoEntity(MIDIDeviceRef device);
    /// Whether two names of fewer than `limit` characters are the same, case included.
    bool NameCmp(const char* wanted, const char* found, unsigned int limit);
    /// Takes what the controller sends, on a thread of the platform's, and does nothing with it.
    static void HardwareReadProcEntry(const MIDIPacketList* packets, void* port, void* connection);

    // Windows of the front application

    /// The window list, front to back, owned by the caller; null when it cannot be had. `verbose`
    /// writes diagnostics to the log, with `label` in them.
    CFArrayRef CopyApplicationWindowList(bool verbose, CFStringRef label);

    /// The first window whose title matches, or null. The search ends with null at a title that
    /// cannot be read. The window is lent until the request that is being answered ends.
    AXUIElementRef GetWindowElementWithTitle(NSString* wanted, bool partial);
    /// The same for a UTF-8 text, with the oddity that control centers rely on: the title read is
    /// not compared, so a whole match takes the first window and a partial match none.
    AXUIElementRef GetWindowElementWithTitle(const std::string& wanted, bool partial);

    /// Reads position and size; both are written only when both could be read.
    bool GetPosAndSizeForWindowElement(AXUIElementRef window, CGPoint& position, CGSize& size);
    /// Finds the window by the text form, makes it main, and measures it then.
    bool GetPosAndSizeForWindowName(const std::string& wanted, bool partial, CGPoint& position,
                                    CGSize& size);

    /// Which candidate is open, as its index, and where the wanted window lies. The first window
    /// whose title contains a candidate's localised title decides; for that window the first such
    /// candidate. `index` is written once a candidate was recognised, the rest only with true. Ends
    /// the process when a recognised candidate's alternate window is not found.
    bool GetPosAndSizeForTargetWindow(ZYN_Driver_TargetWindowInfo* candidates, unsigned int count,
                                      unsigned int& index, CGPoint& position, CGSize& size);
    /// The first candidate whose localised title occurs in `windowTitle`; `index` is 0 when none.
    bool GetTargetIndexForWindow(NSString* windowTitle, ZYN_Driver_TargetWindowInfo* candidates,
                                 unsigned int count, unsigned int& index);

    // Keyboard

    /// The tap's callback: while forwarding is on the control center decides whether the event goes
    /// on (`event` is returned) or disappears (null). It disappears too when no answer comes in
    /// time; the reply that made it disappear is kept for ever. Ignores proxy and user data.
    static CGEventRef EventTapCallBackEntry(CGEventTapProxy proxy, CGEventType type,
                                            CGEventRef event, void* userInfo);

    // Pointer and permission

    /// The pointer's location, origin at the main screen's top left, y downward.
    void GetGlobalMouse(CGPoint* point);

    /// Reads a window of the control center once, so that the platform asks the user for its
    /// accessibility permission at start-up and not in the middle of the first request.
    void TriggerAXAlert();

  private:
    friend struct DriverProbe;  // the unit tests' view of the fields

    class RequestBytes;
    struct RequestHandler;
    static const RequestHandler kRequestHandlers[];

    CFDataRef AnswerTapSwitch(const RequestBytes& request);
    CFDataRef AnswerPointer(const RequestBytes& request);
    CFDataRef AnswerTargetWindow(const RequestBytes& request);
    CFDataRef AnswerWindow(const RequestBytes& request);

    bool IsLetThrough(CGEventType type, CGEventRef event);
    void ReadVersion();
    bool SendIdentity(SInt32 msgid);
    void SendFrontApplication(unsigned int signature, CFStringRef bundleID);
    MIDIEntityRef LocateEntity(MIDIDeviceRef device, const kivo::MIDIName& wanted);
    bool IsNamed(MIDIObjectRef object, const kivo::MIDIName& wanted);
    AXUIElementRef RecognisedWindow(CFArrayRef windows, ZYN_Driver_TargetWindowInfo* candidates,
                                    unsigned int count, unsigned int& index);
    AXUIElementRef AlternateWindow(const ZYN_Driver_TargetWindowInfo& candidate);
    AXUIElementRef WindowForAlert(CFArrayRef windows);

    static CZYN_UserSpaceDriver* sSelf;

    unsigned short mUnitCount = 1;
    unsigned short mChannelCount = 0;
    unsigned short mStatusReserved = 0;
    bool mStatusValid = false;
    bool mReservedFlag = false;
    bool mConnectState = false;
    CFRunLoopTimerRef mTimer = nullptr;
    MIDIClientRef mMIDIClient = 0;
    MIDIObjectRef mMIDIReserved1 = 0;
    MIDIObjectRef mMIDIReserved2 = 0;
    MIDIPortRef mInputPort = 0;
    MIDIPortRef mOutputPort = 0;
    MIDIEndpointRef mSource = 0;
    MIDIEndpointRef mDestination = 0;
    bool mConnected = false;
    bool mLanguageSent = false;
    char mLanguage[32] = {};
    CACFLocalMessagePort mLocalPort;
    CACFRemoteMessagePort* mRemotePort = nullptr;
    CFRunLoopSourceRef mLocalRunLoopSource = nullptr;
    SInt32 mReservedIndex = -1;
    char mVersion[32] = {};
    UInt32 mReservedCount = 0;
    ZYN_EventTapper mEventTapper;
    bool mTapEnabled = false;

    // Window lists whose elements are lent to the request in progress.
    std::vector<kivo::CFRef<CFArrayRef>> mLentWindowLists;
};
