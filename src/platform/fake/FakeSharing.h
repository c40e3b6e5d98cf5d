#pragma once

#include "platform/Pasteboard.h"
#include "platform/SavePanel.h"
#include "platform/ShareSheet.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct SharedPicture {
    std::string png;
    std::string title;
};

/// Where pictures go that leave the program.
class FakeSharing final
    : public Pasteboard
    , public SavePanel
    , public ShareSheet {
public:
    explicit FakeSharing(std::vector<std::string>& calls)
        : calls(calls)
    {
    }

    void choosePlace(const std::filesystem::path& place);
    void cancelSavePanel()
    {
        if (!savePanels.empty())
            savePanels.pop_front();
    }

    const std::optional<std::string>& copiedPicture() const { return copied; }
    std::vector<std::string> proposedNames() const;
    const std::vector<SharedPicture>& sharedPictures() const { return shared; }

    void setPicture(std::string_view png) override;
    void begin(
        const std::string& proposedName, std::function<void(const std::filesystem::path&)> chosen) override;
    void share(std::string_view png, const std::string& title) override;

private:
    struct OpenSavePanel {
        std::string proposedName;
        std::function<void(const std::filesystem::path&)> chosen;
    };

    std::vector<std::string>& calls;
    std::optional<std::string> copied;
    std::deque<OpenSavePanel> savePanels;
    std::vector<SharedPicture> shared;
};
