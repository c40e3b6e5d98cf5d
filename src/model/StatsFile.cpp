#include "model/StatsFile.h"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

namespace {

using Json = nlohmann::json;

/// Takes the parser's events and fills the table. Answering false ends the parsing. What a day holds besides
/// its counts is passed over by counting how deep it goes, so that no depth of nesting costs anything.
class TableReader final : public nlohmann::json_sax<Json> {
public:
    bool null() override { return scalar({}); }
    bool boolean(bool) override { return scalar({}); }
    bool number_integer(std::int64_t value) override { return scalar(value); }
    bool number_float(double, const std::string&) override { return scalar({}); }
    bool string(std::string&) override { return scalar({}); }
    bool binary(Json::binary_t&) override { return false; }
    bool parse_error(std::size_t, const std::string&, const Json::exception&) override { return false; }

    // Integers without a sign come here. Up to 2^64 - 1 they are no error yet.
    bool number_unsigned(std::uint64_t value) override
    {
        if (std::in_range<std::int64_t>(value))
            return scalar(static_cast<std::int64_t>(value));
        return scalar({});
    }

    bool start_object(std::size_t) override
    {
        ++depth;
        if (depth == inDay)
            keys = clicks = {};
        return depth <= inDay || isPassedOver();
    }

    bool end_object() override
    {
        --depth;
        if (depth != inTable)
            return true;
        if (!keys || !clicks)
            return false;
        days.insert_or_assign(std::move(day), DayCount { .keys = *keys, .clicks = *clicks });
        return true;
    }

    bool start_array(std::size_t) override
    {
        ++depth;
        return isPassedOver();
    }

    bool end_array() override
    {
        --depth;
        return true;
    }

    bool key(std::string& name) override
    {
        if (depth == inTable) {
            day = std::move(name);
        } else if (depth == inDay) {
            member = name == "keys" ? &keys : name == "clicks" ? &clicks : nullptr;
        }
        return true;
    }

    DayTable takeDays() { return std::move(days); }

private:
    static constexpr std::size_t inTable = 1;
    static constexpr std::size_t inDay = 2;

    /// Whether what begins here, now that the depth has grown, lies in a member of a day that is not a count.
    bool isPassedOver() const { return depth > inDay && !member; }

    /// `integer` is empty for a value that is none.
    bool scalar(std::optional<std::int64_t> integer)
    {
        if (depth < inDay)
            return false;
        if (!member)
            return true;
        *member = integer;
        return integer.has_value();
    }

    DayTable days;
    std::size_t depth = 0;
    std::string day;
    std::optional<std::int64_t> keys;
    std::optional<std::int64_t> clicks;
    // The count that the value to come belongs to.
    std::optional<std::int64_t>* member = nullptr;
};

void appendInteger(std::string& text, std::int64_t value)
{
    std::array<char, 20> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    text.append(digits.data(), end);
}

/// A key is what a formatter made or a file held, so it may be any text.
void appendString(std::string& text, std::string_view string)
{
    constexpr std::string_view hexadecimal = "0123456789abcdef";
    text += '"';
    for (const char character : string) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20) {
            text.append("\\u00");
            text += hexadecimal[code / 16];
            text += hexadecimal[code % 16];
        } else {
            if (character == '"' || character == '\\')
                text += '\\';
            text += character;
        }
    }
    text += '"';
}

} // namespace

std::string encodeStats(const DayTable& days)
{
    constexpr std::size_t typicalDay = 48;
    std::string text;
    text.reserve(days.size() * typicalDay + 2);

    text += '{';
    for (const auto& [day, count] : days) {
        if (text.size() > 1)
            text += ',';
        appendString(text, day);
        text += R"(:{"keys":)";
        appendInteger(text, count.keys);
        text += R"(,"clicks":)";
        appendInteger(text, count.clicks);
        text += '}';
    }
    text += '}';
    return text;
}

std::optional<DayTable> decodeStats(std::string_view text)
{
    // The parser would skip a byte order mark and take a NUL for the end of the text.
    if (text.starts_with("\xEF\xBB\xBF") || text.find('\0') != std::string_view::npos)
        return {};

    TableReader reader;
    if (!Json::sax_parse(text.begin(), text.end(), &reader))
        return {};
    return reader.takeDays();
}
