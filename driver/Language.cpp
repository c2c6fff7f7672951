// The language that the daemon runs in.

#include <cstring>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/ZYN_Constant_CFStrings.h"
#include "driver/CZYN_UserSpaceDriver.h"

bool CZYN_UserSpaceDriver::GetLocale() {
    auto localised = kivo::Adopt(CFBundleCopyLocalizedString(
        CFBundleGetMainBundle(), kZYNLanguageKey, kZYNLanguageKey, nullptr));
    char name[sizeof mLanguage];
    const bool converted = localised && CFStringGetCString(localised.Get(), name, sizeof name,
                                                           CFStringGetSystemEncoding());
    localised = {};
    if (converted) {
        std::strcpy(mLanguage, name);
        SendMessage(kivo::kMessageLanguage, reinterpret_cast<unsigned char*>(mLanguage),
                    static_cast<unsigned int>(std::strlen(mLanguage) + 1), false, nullptr);
    }
    return converted;
}

void CZYN_UserSpaceDriver::GetCurrentLanguage(char* destination, unsigned int length) {
    if (sSelf == nullptr) return;
    std::strncpy(destination, mLanguage, length);
}
