#pragma once

#include <cstdint>
#include <string>

// What single bars do differently from all others. A bar is named by the process that owns the watcher with
// which items register; a bar without a name has no quirks.

/// The name that the kernel keeps of a process, at most 15 characters; empty when it cannot be read.
std::string processName(std::uint32_t processId);

/// Shows counts only where they are painted into the icon. Such a bar is told of no label at all.
bool takesTextInTheIconOnly(const std::string& bar);
/// Draws a named icon in the near-black of its file, whatever the color of the bar.
bool drawsNamedIconsUncolored(const std::string& bar);
/// Looks at the label before it can show one, and from then on at changes only. It can when it introspects
/// the item.
bool readsLabelTooEarly(const std::string& bar);
/// Forgets what it has read of an item that is registered by a name when it hears of the name afterwards.
bool losesItemsWithNames(const std::string& bar);
/// Overlooks an item that registers at the moment at which the bar itself starts.
bool missesItemsOfItsStart(const std::string& bar);
/// Says where within the icon a click was, not where on the screen.
bool countsPlacesFromTheIcon(const std::string& bar);
/// Knows where on the screens its icons are, also in a Wayland session.
bool knowsItsPlace(const std::string& bar);
