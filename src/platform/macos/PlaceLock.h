#pragma once

#include <chrono>
#include <filesystem>

/// The file whose lock is the place of the one instance. The lock ends with the process, however that ends.
class PlaceLock final {
public:
    /// The folder is made where it is missing. Where it has no name there is none.
    explicit PlaceLock(std::filesystem::path folder);
    PlaceLock(const PlaceLock&) = delete;
    PlaceLock& operator=(const PlaceLock&) = delete;
    ~PlaceLock();

    /// Waits that long for an instance that makes way, and for no other. Where no file can be made nothing
    /// can be saved either, and there is no place to fight for: true.
    [[nodiscard]] bool claim(std::chrono::milliseconds patience);
    /// The instance that has the place is about to end, so that others wait for it.
    void makeWay() const;

private:
    bool isMakingWay() const;
    void write(char sign) const;

    std::filesystem::path folder;
    int file = -1;
};
