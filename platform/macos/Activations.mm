// Activations of applications: the workspace's notifications, handed on to callbacks.

#import <AppKit/AppKit.h>

#include <map>

#include "platform/Workspace.h"
#include "platform/macos/Foundation.h"

using kivo::AutoreleasePool;

/// Takes the notifications for one callback.
@interface KivoActivationObserver : NSObject {
    WorkspaceActivationCallBack mCallback;
    void* mInfo;
}
- (id)initWithCallback:(WorkspaceActivationCallBack)callback info:(void*)info;
- (void)applicationDidActivate:(NSNotification*)notification;
@end

@implementation KivoActivationObserver

- (id)initWithCallback:(WorkspaceActivationCallBack)callback info:(void*)info {
    self = [super init];
    if (self != nil) {
        mCallback = callback;
        mInfo = info;
    }
    return self;
}

- (void)applicationDidActivate:(NSNotification*)notification {
    const AutoreleasePool pool;
    [[self retain] autorelease];  // the callback may end the observation
    mCallback([[notification userInfo] objectForKey:NSWorkspaceApplicationKey], mInfo);
}

@end

namespace {

/// The observers by the `info` of their callbacks, each owned here.
std::map<void*, KivoActivationObserver*>& Observers() {
    static auto& observers = *new std::map<void*, KivoActivationObserver*>;
    return observers;
}

}  // namespace

void Workspace_ObserveActivations(WorkspaceActivationCallBack callback, void* info) {
    const AutoreleasePool pool;
    Workspace_StopObservingActivations(info);
    KivoActivationObserver* observer = [[KivoActivationObserver alloc] initWithCallback:callback
                                                                                   info:info];
    Observers()[info] = observer;
    [[[NSWorkspace sharedWorkspace] notificationCenter]
        addObserver:observer
           selector:@selector(applicationDidActivate:)
               name:NSWorkspaceDidActivateApplicationNotification
             object:nil];
}

void Workspace_StopObservingActivations(void* info) {
    const AutoreleasePool pool;
    const auto found = Observers().find(info);
    if (found == Observers().end()) return;
    [[[NSWorkspace sharedWorkspace] notificationCenter] removeObserver:found->second];
    [found->second release];
    Observers().erase(found);
}
