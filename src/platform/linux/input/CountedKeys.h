#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>

/// Key codes of an X keyboard: 8 to 255.
using KeyCodes = std::bitset<256>;

/// Whether pressing a key counts, given the keysym that it produces alone, without any modifier held.
/// Modifiers and locks do not count, nor do the keys for media, volume, brightness, power, microphone and
/// touchpad. Function keys and those that start a program or tell one what to do are keys.
bool countsAsKey(std::uint32_t keysym);

/// The key codes that do not count on a keyboard. `symbols` holds `symbolsPerKey` keysyms for each key, from
/// `firstCode` on. The modifier map (`modifiers`, with 0 for nothing) names the keys that act as modifiers
/// whatever their symbol; it lacks AltGr on many layouts, which only its symbol gives away.
KeyCodes uncountedKeys(std::span<const std::uint8_t> modifiers, std::uint8_t firstCode,
    std::span<const std::uint32_t> symbols, std::size_t symbolsPerKey);
