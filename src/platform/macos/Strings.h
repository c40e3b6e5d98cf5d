#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>

/// Texts between the program, which has them in UTF-8, and the system. What is not UTF-8 is the empty text.
NSString* _Nonnull systemString(std::string_view text);
std::string programString(NSString* _Nullable text);

/// The content of a file.
NSData* _Nonnull systemData(std::string_view bytes);
