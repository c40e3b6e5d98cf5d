#pragma once

// The main queue, as far as the program uses it.

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __OBJC__
__attribute__((objc_root_class))
@interface OS_dispatch_queue
@end
typedef OS_dispatch_queue* dispatch_queue_t;
#else
typedef struct dispatch_queue_s* dispatch_queue_t;
#endif
typedef void (*dispatch_function_t)(void* _Nullable context);

dispatch_queue_t _Nonnull dispatch_get_main_queue(void);
void dispatch_async_f(
    dispatch_queue_t _Nonnull queue, void* _Nullable context, dispatch_function_t _Nonnull work);

#ifdef __BLOCKS__
typedef void (^dispatch_block_t)(void);
void dispatch_async(dispatch_queue_t _Nonnull queue, dispatch_block_t _Nonnull block);
#endif

#ifdef __cplusplus
}
#endif
