#include "platform/macos/UserDefaults.h"

#include "platform/macos/Strings.h"

#import <Foundation/Foundation.h>

bool UserDefaults::boolean(std::string_view key) const
{
    return [NSUserDefaults.standardUserDefaults boolForKey:systemString(key)];
}

void UserDefaults::setBoolean(std::string_view key, bool value)
{
    [NSUserDefaults.standardUserDefaults setBool:value forKey:systemString(key)];
}
