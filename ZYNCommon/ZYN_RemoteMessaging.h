#pragma once

/// Everything that travels between daemon and control center as bytes: the message specs, the
/// target-window record and the big-endian helpers.

#include "ZYNCommon/PointSpecs.h"
#include "ZYNCommon/ReceiveOnlySpecs.h"
#include "ZYNCommon/SMessageSpec.h"
#include "ZYNCommon/SServerSpec.h"
#include "ZYNCommon/UBuffer.h"
#include "ZYNCommon/ValueSpecs.h"
#include "ZYNCommon/WindowRequestSpecs.h"
#include "ZYNCommon/ZYN_Driver_TargetWindowInfo.h"
