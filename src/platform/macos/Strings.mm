#include "platform/macos/Strings.h"

NSString* systemString(std::string_view text)
{
    NSString* const string = [[NSString alloc] initWithBytes:text.data()
                                                      length:text.size()
                                                    encoding:NSUTF8StringEncoding];
    return string ? string : @"";
}

std::string programString(NSString* text)
{
    const char* const bytes = text.UTF8String;
    return bytes ? bytes : "";
}

NSData* systemData(std::string_view bytes) { return [NSData dataWithBytes:bytes.data() length:bytes.size()]; }
