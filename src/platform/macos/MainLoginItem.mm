#include "platform/macos/MainLoginItem.h"

#import <ServiceManagement/ServiceManagement.h>

static_assert(static_cast<int>(LoginItemStatus::NotRegistered) == SMAppServiceStatusNotRegistered);
static_assert(static_cast<int>(LoginItemStatus::Enabled) == SMAppServiceStatusEnabled);
static_assert(static_cast<int>(LoginItemStatus::RequiresApproval) == SMAppServiceStatusRequiresApproval);
static_assert(static_cast<int>(LoginItemStatus::NotFound) == SMAppServiceStatusNotFound);

LoginItemStatus MainLoginItem::status()
{
    return static_cast<LoginItemStatus>(SMAppService.mainAppService.status);
}

// Of a refusal the user sees the switch go back; why the system refuses is said nowhere.
bool MainLoginItem::registerItem() { return [SMAppService.mainAppService registerAndReturnError:nil]; }

bool MainLoginItem::unregisterItem() { return [SMAppService.mainAppService unregisterAndReturnError:nil]; }
