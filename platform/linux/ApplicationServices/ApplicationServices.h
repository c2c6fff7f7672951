#pragma once

/// The umbrella of the Application Services names: Accessibility, and Quartz event taps.

#include <ApplicationServices/AXUIElement.h>
#include <ApplicationServices/AXValue.h>
#include <ApplicationServices/CGEvent.h>
#include <ApplicationServices/CGEventSource.h>
#include <CoreFoundation/CFCGTypes.h>
#include <CoreFoundation/CoreFoundation.h>
