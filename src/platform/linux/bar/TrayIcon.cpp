#include "platform/linux/bar/TrayIcon.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <utility>

namespace {

using namespace std::chrono_literals;

/// How long the pointer rests on the icon before the tooltip comes, as in most programs.
constexpr auto toolTipPatience = 700ms;
/// The space between the icon and its tooltip.
constexpr int toolTipDistance = 4;
/// The text of smaller ones is hard to read.
constexpr int smallestToolTip = 24;

/// What a tray asks nobody about, before it has said how large it wants the icon.
constexpr std::uint16_t usualSize = 22;

/// So many events are handled before others have their turn.
constexpr int eventsAtOnce = 100;

// Constants of the System Tray Protocol and of XEmbed.
constexpr std::uint32_t requestDock = 0;
constexpr std::uint32_t embeddingVersion = 0;
constexpr std::uint32_t embeddingMapped = 1;

/// A hint of WM_NORMAL_HINTS: the smallest size.
constexpr std::uint32_t hasSmallestSize = 1U << 4;

const xcb_screen_t* screenOf(xcb_connection_t* connection, int number)
{
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (screens.rem > 1 && number-- > 0)
        xcb_screen_next(&screens);
    return screens.data;
}

/// XCB_NONE where there is none.
std::uint32_t firstNumber(const xcb_get_property_reply_t* property)
{
    if (!property || property->format != 32 || property->value_len < 1)
        return XCB_NONE;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(property));
}

void setName(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
    const std::string& text)
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
        static_cast<std::uint32_t>(text.size()), text.data());
}

template <std::size_t count>
void setNumbers(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
    const std::array<std::uint32_t, count>& numbers)
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 32, count, numbers.data());
}

/// What a window of ours begins with: nothing, or what the badge has anyway.
std::uint32_t backgroundOf(const PixelFormat& format)
{
    return format.hasAlpha() ? 0 : format.pixel(badgeColor, badgeColor, badgeColor, 0xff);
}

std::uint8_t kindOf(const xcb_generic_event_t& event) { return event.response_type & 0x7f; }

template <typename T>
const T& as(const xcb_generic_event_t& event)
{
    return reinterpret_cast<const T&>(event);
}

}

TrayIcon::TrayIcon(EventLoop& loop, MenuBarAction activated, MenuBarAction menuWanted)
    : loop(loop)
    , activated(std::move(activated))
    , menuWanted(std::move(menuWanted))
    , toolTipDelay(loop, [this] { showToolTip(); })
{
    int number = 0;
    connection.reset(xcb_connect(nullptr, &number));
    if (xcb_connection_has_error(connection.get()))
        return;
    questions.emplace(connection.get());
    screen = screenOf(connection.get(), number);
    watch = std::make_unique<DescriptorWatch>(
        loop, xcb_get_file_descriptor(connection.get()), [this] { dispatch(); });

    // A tray that comes says so to everybody who listens on the root window.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.get(), screen->root, XCB_CW_EVENT_MASK, &events);
    askForAtoms(number);
    dispatch();
}

TrayIcon::~TrayIcon() = default;

/// The tray is looked for when the last one has come.
void TrayIcon::askForAtoms(int screenNumber)
{
    const std::array<std::pair<std::string, xcb_atom_t*>, 9> wanted { {
        { "_NET_SYSTEM_TRAY_S" + std::to_string(screenNumber), &atoms.tray },
        { "MANAGER", &atoms.manager },
        { "_NET_SYSTEM_TRAY_OPCODE", &atoms.opcode },
        { "_NET_SYSTEM_TRAY_VISUAL", &atoms.visual },
        { "_XEMBED_INFO", &atoms.embedding },
        { "_NET_WM_NAME", &atoms.name },
        { "UTF8_STRING", &atoms.utf8 },
        { "_NET_WM_WINDOW_TYPE", &atoms.windowType },
        { "_NET_WM_WINDOW_TYPE_TOOLTIP", &atoms.toolTipType },
    } };
    for (const auto& [name, atom] : wanted) {
        const auto request
            = xcb_intern_atom(connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
        const bool isLast = atom == wanted.back().second;
        questions->add(request.sequence, [this, atom = atom, isLast](const void* reply) {
            if (reply)
                *atom = static_cast<const xcb_intern_atom_reply_t*>(reply)->atom;
            if (isLast)
                findTray();
        });
    }
}

void TrayIcon::setToolTip(const std::string& newToolTip)
{
    if (newToolTip == toolTip)
        return;
    toolTip = newToolTip;
    // What a frozen server is not told, it is told with the next change.
    if (window == XCB_WINDOW_NONE || !acceptsRequests(connection.get()))
        return;
    nameWindow();
    if (toolTipWindow != XCB_WINDOW_NONE) {
        hideToolTip();
        showToolTip();
    }
    dispatch();
}

/// Never waits for the server. What has left the socket is announced by it no more, so that it looks again
/// until there is nothing, after everything else has had its turn: a tray that keeps the icon busy keeps
/// nobody waiting.
void TrayIcon::dispatch()
{
    bool isDone = false;
    for (int i = 0; i < eventsAtOnce && !isDone; ++i) {
        const XcbReply<xcb_generic_event_t> event(xcb_poll_for_event(connection.get()));
        if (event)
            handle(*event);
        else
            isDone = true;
    }
    if (questions->takeAnswers())
        isDone = false;
    if (std::exchange(needsDrawing, false)) {
        drawIcon();
        isDone = false;
    }
    if (std::exchange(toolTipNeedsDrawing, false)) {
        drawToolTip();
        isDone = false;
    }
    xcb_flush(connection.get());
    // Writing reads as well, what has come meanwhile.
    if (const XcbReply<xcb_generic_event_t> event { xcb_poll_for_queued_event(connection.get()) }) {
        handle(*event);
        isDone = false;
    }
    if (questions->takeAnswers())
        isDone = false;

    if (xcb_connection_has_error(connection.get())) {
        watch.reset();
        toolTipDelay.stop();
        isEmbedded = false;
    } else if (!isDone) {
        loop.callLater(lifetime.guard([this] { dispatch(); }));
    }
}

void TrayIcon::handle(const xcb_generic_event_t& event)
{
    switch (kindOf(event)) {
    case 0:
        handleError(as<xcb_generic_error_t>(event));
        break;
    case XCB_CLIENT_MESSAGE: {
        const auto& message = as<xcb_client_message_event_t>(event);
        if (message.type == atoms.manager && message.format == 32 && message.data.data32[1] == atoms.tray)
            findTray();
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto destroyed = as<xcb_destroy_notify_event_t>(event).window;
        if (destroyed == tray) {
            leaveTray();
            findTray();
        } else if (destroyed == window) {
            // A tray that does this and lives on does not want the icon.
            dropWindow();
        }
        break;
    }
    case XCB_REPARENT_NOTIFY:
        if (as<xcb_reparent_notify_event_t>(event).window == window)
            handleParent(as<xcb_reparent_notify_event_t>(event).parent);
        break;
    case XCB_MAP_NOTIFY:
        if (as<xcb_map_notify_event_t>(event).window == window)
            isMapped = true;
        break;
    case XCB_UNMAP_NOTIFY:
        if (as<xcb_unmap_notify_event_t>(event).window == window) {
            isMapped = false;
            hideToolTip();
        }
        break;
    case XCB_CONFIGURE_NOTIFY: {
        const auto& configured = as<xcb_configure_notify_event_t>(event);
        if (configured.window == window) {
            place.width = configured.width;
            place.height = configured.height;
            needsDrawing = true;
        }
        break;
    }
    case XCB_EXPOSE:
        (as<xcb_expose_event_t>(event).window == window ? needsDrawing : toolTipNeedsDrawing) = true;
        break;
    case XCB_ENTER_NOTIFY: {
        const auto& entered = as<xcb_enter_notify_event_t>(event);
        place.x = entered.root_x - entered.event_x;
        place.y = entered.root_y - entered.event_y;
        // Not when a menu that has been closed gives the pointer back.
        if (entered.mode == XCB_NOTIFY_MODE_NORMAL)
            toolTipDelay.start(toolTipPatience);
        break;
    }
    case XCB_BUTTON_PRESS:
        hideToolTip();
        // At once: a press on the icon is also one outside the panel, and closes it. What comes at the
        // release could come too late to be known for the same click.
        if (as<xcb_button_press_event_t>(event).detail == XCB_BUTTON_INDEX_1)
            handleClick(as<xcb_button_press_event_t>(event));
        break;
    case XCB_LEAVE_NOTIFY:
        hideToolTip();
        break;
    case XCB_BUTTON_RELEASE:
        if (as<xcb_button_release_event_t>(event).detail == XCB_BUTTON_INDEX_3)
            handleClick(as<xcb_button_release_event_t>(event));
        break;
    default:
        break;
    }
}

/// A tray may be gone before anything was asked of it.
void TrayIcon::handleError(const xcb_generic_error_t& error)
{
    if (tray != XCB_WINDOW_NONE && error.resource_id == tray)
        leaveTray();
}

/// The menu is wanted at the release: until then the server gives the pointer to nobody else. One outside the
/// icon is none.
void TrayIcon::handleClick(const xcb_button_press_event_t& click)
{
    if (click.event_x < 0 || click.event_x >= place.width || click.event_y < 0
        || click.event_y >= place.height)
        return;
    const auto& action = click.detail == XCB_BUTTON_INDEX_1 ? activated : menuWanted;
    const ScreenPixel middle {
        click.root_x - click.event_x + place.width / 2,
        click.root_y - click.event_y + place.height / 2,
    };
    // Later, since the action may end this object.
    loop.callLater(lifetime.guard([action = action, middle] { action(middle); }));
}

/// The background of the window is the tray's, where it is of the same kind. A tray that is gone has left the
/// window to the root window, where it would be one like any other.
void TrayIcon::handleParent(xcb_window_t parent)
{
    isEmbedded = parent != screen->root;
    if (!isEmbedded) {
        xcb_unmap_window(connection.get(), window);
        return;
    }
    if (format.hasAlpha())
        return;
    const auto request = xcb_get_geometry(connection.get(), parent).sequence;
    questions->add(request, [this, child = window](const void* reply) {
        const auto* geometry = static_cast<const xcb_get_geometry_reply_t*>(reply);
        if (!geometry || geometry->depth != format.depth || child != window)
            return;
        const std::uint32_t background = XCB_BACK_PIXMAP_PARENT_RELATIVE;
        xcb_change_window_attributes(connection.get(), window, XCB_CW_BACK_PIXMAP, &background);
        needsDrawing = true;
    });
}

void TrayIcon::findTray()
{
    const auto request = xcb_get_selection_owner(connection.get(), atoms.tray).sequence;
    questions->add(request, [this](const void* reply) {
        const auto* owner = static_cast<const xcb_get_selection_owner_reply_t*>(reply);
        trayFound(owner ? owner->owner : xcb_window_t { XCB_WINDOW_NONE });
    });
}

/// Does nothing when it is the one that is known already: anybody may say that a tray has come.
void TrayIcon::trayFound(xcb_window_t newTray)
{
    if (newTray == tray)
        return;
    leaveTray();
    if (newTray == XCB_WINDOW_NONE)
        return;

    tray = newTray;
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.get(), tray, XCB_CW_EVENT_MASK, &events);
    const auto request
        = xcb_get_property(connection.get(), 0, tray, atoms.visual, XCB_ATOM_VISUALID, 0, 1).sequence;
    questions->add(request, [this, newTray](const void* reply) {
        if (tray == newTray && window == XCB_WINDOW_NONE)
            visualFound(firstNumber(static_cast<const xcb_get_property_reply_t*>(reply)));
    });
}

/// That of the tray itself, where it says so: with alpha if it can show such windows.
void TrayIcon::visualFound(xcb_visualid_t offered)
{
    auto usable = pixelFormat(connection.get(), *screen, offered);
    if (!usable)
        usable = pixelFormat(connection.get(), *screen, screen->root_visual);
    if (!usable)
        return;
    makeWindow(*usable);
    askForDock();
}

void TrayIcon::leaveTray()
{
    tray = XCB_WINDOW_NONE;
    dropWindow();
}

void TrayIcon::dropWindow()
{
    hideToolTip();
    isEmbedded = false;
    isMapped = false;
    needsDrawing = false;
    place = {};
    if (const auto old = std::exchange(window, xcb_window_t { XCB_WINDOW_NONE }); old != XCB_WINDOW_NONE)
        xcb_destroy_window(connection.get(), old);
    if (const auto old = std::exchange(colors, xcb_colormap_t { XCB_NONE }); old != XCB_NONE)
        xcb_free_colormap(connection.get(), old);
}

void TrayIcon::makeWindow(const PixelFormat& newFormat)
{
    format = newFormat;
    colors = xcb_generate_id(connection.get());
    xcb_create_colormap(
        connection.get(), XCB_COLORMAP_ALLOC_NONE, colors, screen->root, format.visual.visual_id);
    window = xcb_generate_id(connection.get());
    const std::array<std::uint32_t, 4> values {
        backgroundOf(format),
        0,
        XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_BUTTON_PRESS
            | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_ENTER_WINDOW | XCB_EVENT_MASK_LEAVE_WINDOW,
        colors,
    };
    place = { .width = usualSize, .height = usualSize };
    xcb_create_window(connection.get(), format.depth, window, screen->root, 0, 0, usualSize, usualSize, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, format.visual.visual_id,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values.data());
    nameWindow();
    setName(connection.get(), window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
        std::string("knucklet\0Knucklet\0", 18));
    setNumbers(connection.get(), window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
        std::array<std::uint32_t, 18> { hasSmallestSize, 0, 0, 0, 0, usualSize, usualSize });
    setNumbers(connection.get(), window, atoms.embedding, atoms.embedding,
        std::array { embeddingVersion, embeddingMapped });
}

void TrayIcon::nameWindow()
{
    const std::string name = toolTip.empty() ? "Knucklet" : "Knucklet: " + toolTip;
    setName(connection.get(), window, atoms.name, atoms.utf8, name);
    // Of older bars, which know the program's name only.
    setName(connection.get(), window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "Knucklet");
}

void TrayIcon::askForDock()
{
    xcb_client_message_event_t message {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = tray;
    message.type = atoms.opcode;
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = requestDock;
    message.data.data32[2] = window;
    xcb_send_event(
        connection.get(), 0, tray, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
}

void TrayIcon::drawIcon()
{
    if (!isShown())
        return;
    const auto badge = menuBarIconPixmap(std::min(place.width, place.height));
    xcb_clear_area(connection.get(), 0, window, 0, 0, 0, 0);
    draw(window, format, badge,
        { static_cast<std::int16_t>((place.width - badge.width) / 2),
            static_cast<std::int16_t>((place.height - badge.height) / 2) });
}

/// Over what the window shows there, where the format has no alpha and the picture has.
void TrayIcon::draw(xcb_window_t target, const PixelFormat& targetFormat, const IconPixmap& picture,
    PicturePlace picturePlace)
{
    const auto background = backgroundOf(targetFormat);
    if (targetFormat.hasAlpha()) {
        putPicture(connection.get(), target, targetFormat, picture, picturePlace, background, nullptr);
        return;
    }
    const auto request = askWhatIsBelow(connection.get(), target, picture, picturePlace).sequence;
    questions->add(request, [=, this](const void* reply) {
        if (target == window || target == toolTipWindow)
            putPicture(connection.get(), target, targetFormat, picture, picturePlace, background,
                static_cast<const xcb_get_image_reply_t*>(reply));
    });
}

/// Above or below the icon, on whichever side the screen has more room.
void TrayIcon::showToolTip()
{
    const auto usable = pixelFormat(connection.get(), *screen, screen->root_visual);
    if (!usable || toolTip.empty() || !isShown())
        return;
    toolTipFormat = *usable;
    const auto text = toolTipPicture();
    const int roomBeside = screen->width_in_pixels - text.width;
    const int x = std::clamp(place.x + (place.width - text.width) / 2, 0, std::max(0, roomBeside));
    const bool isBelow = place.y + place.height / 2 < screen->height_in_pixels / 2;
    const int y
        = isBelow ? place.y + place.height + toolTipDistance : place.y - toolTipDistance - text.height;

    toolTipWindow = xcb_generate_id(connection.get());
    const std::array<std::uint32_t, 3> values { backgroundOf(toolTipFormat), 1, XCB_EVENT_MASK_EXPOSURE };
    xcb_create_window(connection.get(), toolTipFormat.depth, toolTipWindow, screen->root,
        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), static_cast<std::uint16_t>(text.width),
        static_cast<std::uint16_t>(text.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
        XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    setNumbers(connection.get(), toolTipWindow, atoms.windowType, XCB_ATOM_ATOM,
        std::array<std::uint32_t, 1> { atoms.toolTipType });
    xcb_map_window(connection.get(), toolTipWindow);
    loop.callLater(lifetime.guard([this] { dispatch(); }));
}

void TrayIcon::hideToolTip()
{
    toolTipDelay.stop();
    if (const auto old = std::exchange(toolTipWindow, xcb_window_t { XCB_WINDOW_NONE });
        old != XCB_WINDOW_NONE)
        xcb_destroy_window(connection.get(), old);
}

void TrayIcon::drawToolTip()
{
    if (toolTipWindow != XCB_WINDOW_NONE)
        draw(toolTipWindow, toolTipFormat, toolTipPicture(), {});
}

/// As high as the icon: on screens with two pixels to a point, trays are twice as high.
IconPixmap TrayIcon::toolTipPicture() const
{
    return toolTipPixmap(toolTip, std::max(smallestToolTip, std::min(place.width, place.height)));
}
