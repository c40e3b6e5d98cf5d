#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

// What came with the program, found from where the program lies, so that it may be installed anywhere and
// also runs where it was built.

/// The running executable. Asked of the system once: the answer would be another as soon as an upgrade has
/// put a new program in its place.
const std::filesystem::path& ownExecutable();

/// The folder "share" that has such a file; nothing when there is none.
std::optional<std::filesystem::path> sharedFolder(const std::filesystem::path& name);
/// A file below "share", such as "knucklet/share-bg.png"; nothing when it is not there.
std::optional<std::filesystem::path> sharedFile(const std::filesystem::path& name);

/// A program of Knucklet's own that users do not start themselves. It need not be there.
std::filesystem::path libexecProgram(std::string_view name);
/// One of the program's modules; nothing when it is not there.
std::optional<std::filesystem::path> moduleFile(const std::filesystem::path& name);
