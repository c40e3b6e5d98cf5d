#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct sd_bus_message;

struct BusMessageRelease {
    void operator()(sd_bus_message* message) const;
};

using BusMessage = std::unique_ptr<sd_bus_message, BusMessageRelease>;

/// Reads the values of a message that somebody else has sent, one after the other. Once one is of another
/// type than expected, or too large, this and all others are empty.
///
/// What is too large is not even copied: anybody on the bus can send a hundred megabytes, and the main thread
/// counts.
class BusReader final {
public:
    /// The bounds of what is read. Names on a bus have 255 bytes at most, and ids of startup sequences a
    /// hundred; a menu has a handful of entries.
    static constexpr std::size_t longestString = 1024;
    static constexpr std::size_t mostElements = 256;

    /// The message outlives the reader.
    explicit BusReader(sd_bus_message* message)
        : message(message)
    {
    }

    bool readBoolean();
    std::int32_t readInt32();
    std::uint32_t readUint32();
    std::string readString();
    std::string readObjectPath();
    std::vector<std::int32_t> readInt32s();
    std::vector<std::string> readStrings();

    /// Calls for each structure of an array, with this reader at its first value. It must be read to its end.
    void forEachStruct(const std::string& types, const std::function<void()>& element);
    /// A variant's boolean, if it holds one.
    std::optional<bool> readBooleanInVariant();
    /// The boolean of this name in a dictionary of the type "a{sv}", if it has one.
    std::optional<bool> readBooleanOf(const std::string& name);
    /// Passes over values of somebody who is trusted.
    void skip(const std::string& types);
    /// Passes over a variant with a single value. One that holds more counts as too large: it would be gone
    /// through element by element, which takes four seconds for the largest.
    void skipSingleVariant();

    /// Whether everything was as expected so far.
    bool isGood() const { return state == State::Good; }
    /// Whether a value was too large.
    bool isTooLarge() const { return state == State::TooLarge; }

private:
    enum class State { Good, OtherType, TooLarge };

    std::string readText(char type);
    /// Whether another element of an array was read; bounds their number.
    bool take(int result, std::size_t& elements);
    void readBasic(char type, void* value);
    void enter(char container, const std::string& contents);
    void leave();

    sd_bus_message* message;
    State state = State::Good;
};

/// Writes the values of a message, one after the other.
class BusWriter final {
public:
    /// The message outlives the writer.
    explicit BusWriter(sd_bus_message* message)
        : message(message)
    {
    }

    void writeBoolean(bool value);
    void writeInt32(std::int32_t value);
    void writeUint32(std::uint32_t value);
    /// What is not UTF-8 is replaced: the bus hangs up on who sends anything else.
    void writeString(const std::string& text);
    void writeObjectPath(const std::string& path);
    void writeBytes(const std::string& bytes);
    void writeInt32s(const std::vector<std::int32_t>& values);
    void writeStrings(const std::vector<std::string>& texts);

    void writeArray(const std::string& elementType, const std::function<void()>& elements);
    void writeStruct(const std::string& types, const std::function<void()>& members);
    void writeVariant(const std::string& type, const std::function<void()>& value);
    /// An entry of the type "{sv}".
    void writeEntry(const std::string& name, const std::string& type, const std::function<void()>& value);

private:
    void writeContainer(char container, const std::string& contents, const std::function<void()>& inner);

    sd_bus_message* message;
};
