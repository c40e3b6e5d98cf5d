#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// The whole content of a regular file of at most 64 MiB; nothing for everything else. Never waits for a pipe
/// or a device that lies in the file's place.
std::optional<std::string> readFile(const std::filesystem::path& file);

/// Puts new content in place of the file's old one, or makes the file, in a folder that exists: at every
/// moment, whatever ends the process or the machine, there is the old content or the new one, whole. A
/// symbolic link is followed to its target. The permissions of an existing file are kept, a new file belongs
/// to the user alone.
///
/// True once the new content is safe on the disk. Otherwise the old content is still there, except when only
/// the very last step failed: then the new content is in place but may not survive a power cut.
[[nodiscard]] bool replaceFile(const std::filesystem::path& file, std::string_view content);

/// The same for a file of the user's own, in a place that the user has chosen: a new file gets the
/// permissions that the user's new files have, and a folder that takes no other file has the old one
/// overwritten in its place. A file that could not be written is not left behind in part.
[[nodiscard]] bool exportFile(const std::filesystem::path& file, std::string_view content);
