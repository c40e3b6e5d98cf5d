#include "platform/macos/UserLanguage.h"

#include "platform/macos/Strings.h"

#import <Foundation/Foundation.h>

#include <cstdlib>

void adoptUserLanguage()
{
    NSLocale* const locale = NSLocale.currentLocale;
    auto name = programString(locale.languageCode);
    if (name.empty())
        return;
    if (const auto region = programString(locale.countryCode); !region.empty())
        name += "_" + region;
    constexpr int keepsWhatIsThere = 0;
    setenv("LANG", (name + ".UTF-8").c_str(), keepsWhatIsThere);
}
