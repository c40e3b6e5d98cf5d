#include "model/fuzz/ReferenceParser.h"

#include "model/StatsFile.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace {

/// Reads from the front of a text. Each function takes what it names, or answers false or nothing, and then
/// all is lost.
class Scanner {
public:
    explicit Scanner(std::string_view text)
        : rest(text)
    {
    }

    bool isAtEnd() const { return rest.empty(); }

    bool take(std::string_view wanted)
    {
        if (!rest.starts_with(wanted))
            return false;
        rest.remove_prefix(wanted.size());
        return true;
    }

    void takeBlanks()
    {
        while (take(" ") || take("\t") || take("\n") || take("\r")) { }
    }

    /// A mark between blanks.
    bool takeMark(std::string_view mark)
    {
        takeBlanks();
        const bool isThere = take(mark);
        takeBlanks();
        return isThere;
    }

    /// A number as it is written.
    std::optional<std::string> takeNumber()
    {
        const auto begin = rest;
        take("-");
        if (!take("0") && takeDigits() == 0)
            return {};
        if (take(".") && takeDigits() == 0)
            return {};
        if (take("e") || take("E")) {
            if (!take("+"))
                take("-");
            if (takeDigits() == 0)
                return {};
        }
        std::string literal(begin.substr(0, begin.size() - rest.size()));
        // No number may be beyond what a double holds.
        if (!std::isfinite(std::strtod(literal.c_str(), nullptr)))
            return {};
        return literal;
    }

    std::optional<std::string> takeString()
    {
        if (!take("\""))
            return {};
        std::string string;
        while (!take("\"")) {
            const auto character = take("\\") ? takeEscape() : takeCharacter();
            if (!character)
                return {};
            string += *character;
        }
        return string;
    }

    /// Whatever value comes next.
    bool takeValue()
    {
        // The brackets that are open.
        std::string open;
        do {
            takeBlanks();
            if (take("{")) {
                takeBlanks();
                if (!take("}")) {
                    open += '{';
                    if (!takeString() || !takeMark(":"))
                        return false;
                    continue;
                }
            } else if (take("[")) {
                takeBlanks();
                if (!take("]")) {
                    open += '[';
                    continue;
                }
            } else if (!takeScalar()) {
                return false;
            }
            if (!takeWhatFollows(open))
                return false;
        } while (!open.empty());
        return true;
    }

private:
    std::size_t takeDigits()
    {
        std::size_t count = 0;
        while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
            rest.remove_prefix(1);
            ++count;
        }
        return count;
    }

    bool takeScalar()
    {
        if (rest.starts_with('"'))
            return takeString().has_value();
        return take("null") || take("true") || take("false") || takeNumber();
    }

    /// After a value: the brackets that close, and the comma (and name) that leads to the next value.
    bool takeWhatFollows(std::string& open)
    {
        while (!open.empty()) {
            takeBlanks();
            if (take(",")) {
                takeBlanks();
                return open.back() == '[' || (takeString() && takeMark(":"));
            }
            if (!take(open.back() == '[' ? "]" : "}"))
                return false;
            open.pop_back();
        }
        return true;
    }

    /// One character of UTF-8.
    std::optional<std::string> takeCharacter()
    {
        if (rest.empty())
            return {};
        const auto byte = [this](std::size_t i) { return static_cast<unsigned char>(rest[i]); };
        const std::size_t length = byte(0) < 0x80 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
        if (byte(0) < 0x20 || (byte(0) >= 0x80 && byte(0) < 0xC0) || byte(0) >= 0xF8 || rest.size() < length)
            return {};

        std::uint32_t code = length == 1 ? byte(0) : byte(0) & (0xFFU >> (length + 1));
        for (std::size_t i = 1; i < length; ++i) {
            if ((byte(i) & 0xC0) != 0x80)
                return {};
            code = code << 6 | (byte(i) & 0x3F);
        }
        std::string character(rest.substr(0, length));
        // Written longer than need be, half of a pair, or more than there is.
        if (utf8(code) != character || (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF)
            return {};
        rest.remove_prefix(length);
        return character;
    }

    /// What a backslash begins, after it.
    std::optional<std::string> takeEscape()
    {
        constexpr std::string_view names = "\"\\/bfnrt";
        constexpr std::string_view characters = "\"\\/\b\f\n\r\t";
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (take(names.substr(i, 1)))
                return std::string(1, characters[i]);
        }

        const auto code = takeCodeUnit();
        if (!code || (*code >= 0xDC00 && *code < 0xE000))
            return {};
        if (*code < 0xD800 || *code >= 0xE000)
            return utf8(*code);
        if (!take("\\"))
            return {};
        const auto second = takeCodeUnit();
        if (!second || *second < 0xDC00 || *second >= 0xE000)
            return {};
        return utf8(0x10000 + ((*code - 0xD800) << 10) + (*second - 0xDC00));
    }

    /// The "u0041" of an escape.
    std::optional<std::uint32_t> takeCodeUnit()
    {
        if (!take("u") || rest.size() < 4)
            return {};
        std::uint32_t code = 0;
        for (int i = 0; i < 4; ++i) {
            constexpr std::string_view lower = "0123456789abcdef";
            constexpr std::string_view upper = "0123456789ABCDEF";
            const auto digit = std::min(lower.find(rest.front()), upper.find(rest.front()));
            if (digit == std::string_view::npos)
                return {};
            code = code * 16 + static_cast<std::uint32_t>(digit);
            rest.remove_prefix(1);
        }
        return code;
    }

    static std::string utf8(std::uint32_t code)
    {
        const auto tail = [code](int shift) { return static_cast<char>(0x80 | (code >> shift & 0x3F)); };
        const auto head
            = [code](std::uint32_t mark, int shift) { return static_cast<char>(mark | code >> shift); };
        if (code < 0x80)
            return { static_cast<char>(code) };
        if (code < 0x800)
            return { head(0xC0, 6), tail(0) };
        if (code < 0x10000)
            return { head(0xE0, 12), tail(6), tail(0) };
        return { head(0xF0, 18), tail(12), tail(6), tail(0) };
    }

    std::string_view rest;
};

/// The integer that a number's text is, if it is one of 64 bits.
std::optional<std::int64_t> integer(const std::string& literal)
{
    constexpr auto greatest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const bool isNegative = literal.front() == '-';
    const std::uint64_t limit = isNegative ? greatest + 1 : greatest;
    std::uint64_t magnitude = 0;
    for (const char digit : literal.substr(isNegative ? 1 : 0)) {
        if (digit < '0' || digit > '9')
            return {};
        const auto value = static_cast<std::uint64_t>(digit - '0');
        if (magnitude > (limit - value) / 10)
            return {};
        magnitude = magnitude * 10 + value;
    }
    return static_cast<std::int64_t>(isNegative ? 0 - magnitude : magnitude);
}

std::optional<DayCount> takeDay(Scanner& scanner)
{
    std::optional<std::int64_t> keys;
    std::optional<std::int64_t> clicks;
    if (!scanner.takeMark("{"))
        return {};
    if (scanner.takeMark("}"))
        return {};
    do {
        const auto name = scanner.takeString();
        if (!name || !scanner.takeMark(":"))
            return {};
        if (*name == "keys" || *name == "clicks") {
            const auto literal = scanner.takeNumber();
            auto& count = *name == "keys" ? keys : clicks;
            count = literal ? integer(*literal) : std::nullopt;
            if (!count)
                return {};
        } else if (!scanner.takeValue()) {
            return {};
        }
    } while (scanner.takeMark(","));
    if (!scanner.takeMark("}") || !keys || !clicks)
        return {};
    return DayCount { .keys = *keys, .clicks = *clicks };
}

} // namespace

std::optional<DayTable> referenceDecode(std::string_view text)
{
    Scanner scanner(text);
    DayTable days;
    if (!scanner.takeMark("{"))
        return {};
    if (!scanner.takeMark("}")) {
        do {
            const auto day = scanner.takeString();
            if (!day || !scanner.takeMark(":"))
                return {};
            const auto count = takeDay(scanner);
            if (!count)
                return {};
            days[*day] = *count;
        } while (scanner.takeMark(","));
        if (!scanner.takeMark("}"))
            return {};
    }
    if (!scanner.isAtEnd())
        return {};
    return days;
}

std::string difference(std::string_view text)
{
    const auto read = decodeStats(text);
    const auto expected = referenceDecode(text);
    if (read.has_value() != expected.has_value())
        return read ? "is read but should not be" : "should be read but is not";
    if (read != expected)
        return "is read as another table";
    if (read && decodeStats(encodeStats(*read)) != read)
        return "does not come back when written";
    return {};
}
