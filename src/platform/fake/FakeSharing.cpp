#include "platform/fake/FakeSharing.h"

#include <utility>

void FakeSharing::choosePlace(const std::filesystem::path& place)
{
    if (savePanels.empty())
        return;
    const auto panel = std::move(savePanels.front());
    savePanels.pop_front();
    panel.chosen(place);
}

std::vector<std::string> FakeSharing::proposedNames() const
{
    std::vector<std::string> names;
    for (const auto& panel : savePanels)
        names.push_back(panel.proposedName);
    return names;
}

void FakeSharing::setPicture(std::string_view png)
{
    calls.emplace_back("copy picture");
    copied = png;
}

void FakeSharing::begin(
    const std::string& proposedName, std::function<void(const std::filesystem::path&)> chosen)
{
    calls.push_back("open save panel for " + proposedName);
    savePanels.push_back({ proposedName, std::move(chosen) });
}

void FakeSharing::share(std::string_view png, const std::string& title)
{
    calls.push_back("share " + title);
    shared.push_back({ std::string(png), title });
}
