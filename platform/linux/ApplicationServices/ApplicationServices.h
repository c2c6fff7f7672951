#pragma once

/// The umbrella of the Application Services names: Accessibility.

#include <ApplicationServices/AXUIElement.h>
#include <ApplicationServices/AXValue.h>
#include <CoreFoundation/CFCGTypes.h>
#include <CoreFoundation/CoreFoundation.h>
