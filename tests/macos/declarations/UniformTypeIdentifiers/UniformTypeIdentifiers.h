#pragma once

#import <Foundation/Foundation.h>

#pragma clang assume_nonnull begin

@interface UTType : NSObject
@end

extern "C" UTType* const UTTypePNG DECLARED_AVAILABLE(11.0);
extern "C" UTType* const UTTypeTIFF DECLARED_AVAILABLE(11.0);

#pragma clang assume_nonnull end
