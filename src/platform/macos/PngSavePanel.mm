#include "platform/macos/PngSavePanel.h"

#include "platform/macos/Strings.h"

#import <AppKit/AppKit.h>
#import <UniformTypeIdentifiers/UniformTypeIdentifiers.h>

static_assert(NSModalResponseOK == 1);

void PngSavePanel::begin(
    const std::string& proposedName, std::function<void(const std::filesystem::path&)> chosen)
{
    NSSavePanel* const panel = [NSSavePanel savePanel];
    panel.allowedContentTypes = @[ UTTypePNG ];
    panel.nameFieldStringValue = systemString(proposedName);
    [panel beginWithCompletionHandler:^(NSModalResponse response) {
        NSURL* const url = panel.URL;
        if (response == NSModalResponseOK && url)
            chosen(url.fileSystemRepresentation);
    }];
}
