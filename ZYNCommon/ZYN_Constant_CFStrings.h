#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// The key under which a bundle's Localizable strings name the language, "ZYNLanguage".
extern const CFStringRef kZYNLanguageKey;
