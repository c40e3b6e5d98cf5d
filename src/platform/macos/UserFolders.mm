#include "platform/macos/UserFolders.h"

#include "platform/macos/Strings.h"

#import <Foundation/Foundation.h>

static_assert(NSApplicationSupportDirectory == 14);
static_assert(NSUserDomainMask == 1);

std::optional<std::filesystem::path> UserFolders::applicationSupport() const
{
    NSArray<NSURL*>* const folders =
        [NSFileManager.defaultManager URLsForDirectory:NSApplicationSupportDirectory
                                             inDomains:NSUserDomainMask];
    if (folders.count == 0)
        return {};
    return folders[0].fileSystemRepresentation;
}

std::optional<std::filesystem::path> UserFolders::picture(std::string_view name) const
{
    NSURL* const file = [NSBundle.mainBundle URLForResource:systemString(name) withExtension:@"png"];
    if (!file)
        return {};
    return file.fileSystemRepresentation;
}
