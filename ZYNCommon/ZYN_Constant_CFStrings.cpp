#include "ZYNCommon/ZYN_Constant_CFStrings.h"

const CFStringRef kZYNLanguageKey = CFSTR("ZYNLanguage");
