#include "platform/linux/bus/BusMessage.h"

#include "platform/linux/bus/SdBus.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <tuple>

namespace {

/// How many bytes the character has with which the text begins; 0 where there is none.
std::size_t characterLength(std::string_view text)
{
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const auto first = byte(0);
    const std::size_t length = first < 0x80 ? 1
        : first < 0xc2                      ? 0
        : first < 0xe0                      ? 2
        : first < 0xf0                      ? 3
        : first < 0xf5                      ? 4
                                            : 0;
    if (length == 0 || length > text.size() || first == 0)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0) != 0x80)
            return 0;
    }
    // Longer than needed, a half of a pair, and beyond the last character.
    if ((first == 0xe0 && byte(1) < 0xa0) || (first == 0xed && byte(1) > 0x9f)
        || (first == 0xf0 && byte(1) < 0x90) || (first == 0xf4 && byte(1) > 0x8f))
        return 0;
    return length;
}

std::string validUtf8(std::string_view text)
{
    std::string valid;
    valid.reserve(text.size());
    while (!text.empty()) {
        const auto length = characterLength(text);
        valid += length == 0 ? std::string_view("\xef\xbf\xbd") : text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return valid;
}

}

void BusMessageRelease::operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }

bool BusReader::readBoolean()
{
    int value = 0;
    readBasic(SD_BUS_TYPE_BOOLEAN, &value);
    return value != 0;
}

std::int32_t BusReader::readInt32()
{
    std::int32_t value = 0;
    readBasic(SD_BUS_TYPE_INT32, &value);
    return value;
}

std::uint32_t BusReader::readUint32()
{
    std::uint32_t value = 0;
    readBasic(SD_BUS_TYPE_UINT32, &value);
    return value;
}

std::string BusReader::readString() { return readText(SD_BUS_TYPE_STRING); }

std::string BusReader::readObjectPath() { return readText(SD_BUS_TYPE_OBJECT_PATH); }

std::vector<std::int32_t> BusReader::readInt32s()
{
    std::vector<std::int32_t> values;
    enter(SD_BUS_TYPE_ARRAY, "i");
    std::int32_t value = 0;
    std::size_t elements = 0;
    while (isGood() && take(sd_bus_message_read_basic(message, SD_BUS_TYPE_INT32, &value), elements))
        values.push_back(value);
    leave();
    return values;
}

std::vector<std::string> BusReader::readStrings()
{
    std::vector<std::string> texts;
    enter(SD_BUS_TYPE_ARRAY, "s");
    std::size_t elements = 0;
    while (isGood() && take(sd_bus_message_at_end(message, 0) == 0 ? 1 : 0, elements))
        texts.push_back(readString());
    leave();
    return texts;
}

void BusReader::forEachStruct(const std::string& types, const std::function<void()>& element)
{
    enter(SD_BUS_TYPE_ARRAY, "(" + types + ")");
    std::size_t elements = 0;
    while (isGood()
        && take(sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, types.c_str()), elements)) {
        element();
        leave();
    }
    leave();
}

std::optional<bool> BusReader::readBooleanInVariant()
{
    enter(SD_BUS_TYPE_VARIANT, "b");
    const bool value = readBoolean();
    leave();
    return isGood() ? std::optional(value) : std::nullopt;
}

std::optional<bool> BusReader::readBooleanOf(const std::string& name)
{
    std::optional<bool> value;
    enter(SD_BUS_TYPE_ARRAY, "{sv}");
    std::size_t elements = 0;
    while (
        isGood() && take(sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv"), elements)) {
        if (readString() == name && isGood()) {
            value = readBooleanInVariant();
        } else {
            skip("v");
        }
        leave();
    }
    leave();
    return isGood() ? value : std::nullopt;
}

void BusReader::skip(const std::string& types)
{
    if (isGood() && sd_bus_message_skip(message, types.c_str()) < 0)
        state = State::OtherType;
}

void BusReader::skipSingleVariant()
{
    const char* contents = "";
    if (isGood() && sd_bus_message_peek_type(message, nullptr, &contents) <= 0)
        state = State::OtherType;
    if (isGood() && std::strlen(contents) != 1)
        state = State::TooLarge;
    skip("v");
}

std::string BusReader::readText(char type)
{
    const char* text = "";
    readBasic(type, &text);
    if (!isGood())
        return {};
    const auto length = strnlen(text, longestString + 1);
    if (length > longestString) {
        state = State::TooLarge;
        return {};
    }
    return { text, length };
}

bool BusReader::take(int result, std::size_t& elements)
{
    if (result < 0)
        state = State::OtherType;
    else if (result > 0 && ++elements > mostElements)
        state = State::TooLarge;
    return isGood() && result > 0;
}

void BusReader::readBasic(char type, void* value)
{
    if (isGood() && sd_bus_message_read_basic(message, type, value) <= 0)
        state = State::OtherType;
}

void BusReader::enter(char container, const std::string& contents)
{
    if (isGood() && sd_bus_message_enter_container(message, container, contents.c_str()) <= 0)
        state = State::OtherType;
}

void BusReader::leave()
{
    if (isGood() && sd_bus_message_exit_container(message) < 0)
        state = State::OtherType;
}

// Writing fails only without memory, or with types that are wrong in our own code: such a message is not
// sent.
void BusWriter::writeBoolean(bool value)
{
    const int number = value ? 1 : 0;
    std::ignore = sd_bus_message_append_basic(message, SD_BUS_TYPE_BOOLEAN, &number);
}

void BusWriter::writeInt32(std::int32_t value)
{
    std::ignore = sd_bus_message_append_basic(message, SD_BUS_TYPE_INT32, &value);
}

void BusWriter::writeUint32(std::uint32_t value)
{
    std::ignore = sd_bus_message_append_basic(message, SD_BUS_TYPE_UINT32, &value);
}

void BusWriter::writeString(const std::string& text)
{
    std::ignore = sd_bus_message_append_basic(message, SD_BUS_TYPE_STRING, validUtf8(text).c_str());
}

void BusWriter::writeObjectPath(const std::string& path)
{
    std::ignore = sd_bus_message_append_basic(message, SD_BUS_TYPE_OBJECT_PATH, path.c_str());
}

void BusWriter::writeBytes(const std::string& bytes)
{
    std::ignore = sd_bus_message_append_array(message, SD_BUS_TYPE_BYTE, bytes.data(), bytes.size());
}

void BusWriter::writeInt32s(const std::vector<std::int32_t>& values)
{
    std::ignore = sd_bus_message_append_array(
        message, SD_BUS_TYPE_INT32, values.data(), values.size() * sizeof(std::int32_t));
}

void BusWriter::writeStrings(const std::vector<std::string>& texts)
{
    writeArray("s", [&] {
        for (const auto& text : texts)
            writeString(text);
    });
}

void BusWriter::writeArray(const std::string& elementType, const std::function<void()>& elements)
{
    writeContainer(SD_BUS_TYPE_ARRAY, elementType, elements);
}

void BusWriter::writeStruct(const std::string& types, const std::function<void()>& members)
{
    writeContainer(SD_BUS_TYPE_STRUCT, types, members);
}

void BusWriter::writeVariant(const std::string& type, const std::function<void()>& value)
{
    writeContainer(SD_BUS_TYPE_VARIANT, type, value);
}

void BusWriter::writeEntry(
    const std::string& name, const std::string& type, const std::function<void()>& value)
{
    writeContainer(SD_BUS_TYPE_DICT_ENTRY, "sv", [&] {
        writeString(name);
        writeVariant(type, value);
    });
}

void BusWriter::writeContainer(
    char container, const std::string& contents, const std::function<void()>& inner)
{
    std::ignore = sd_bus_message_open_container(message, container, contents.c_str());
    inner();
    std::ignore = sd_bus_message_close_container(message);
}
