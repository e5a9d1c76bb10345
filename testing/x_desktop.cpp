// An X server in memory, with keys and clicks as xdotool sends them.
//
// No window manager runs. The toolkit sets the focus to a new window itself then, and a key is
// pressed only once the window that it is meant for has it.

#include "testing/x_desktop.h"

#include "testing/comes_true.h"

#include <cstdlib>
#include <stdexcept>

namespace test_support {

namespace {

template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

template <class Reply>
ReplyPointer<Reply> MakeReplyPointer(Reply* reply) {
    return {reply, std::free};
}

} // namespace

XDesktop::XDesktop() {
    server_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24",
                                 "-nolisten", "tcp", "-noreset"});
    display_ = ":" + server_->ExpectLine(
                         [](const std::string& line) {
                             return !line.empty() &&
                                    line.find_first_not_of("0123456789") == std::string::npos;
                         },
                         "that names the display");
    connection_ = xcb_connect(display_.c_str(), nullptr);
    if (xcb_connection_has_error(connection_))
        throw std::runtime_error("cannot reach the X server");
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    root_ = screen->root;
    width_ = screen->width_in_pixels;
    height_ = screen->height_in_pixels;
}

XDesktop::~XDesktop() { xcb_disconnect(connection_); }

Environment XDesktop::Variables() const {
    return {{"DISPLAY", display_}, {"ROM_WIZARD_DISPLAY", "desktop"}, {"QT_QPA_PLATFORM", "xcb"}};
}

std::vector<XDesktop::ShownWindow> XDesktop::Windows() {
    const auto atom = MakeReplyPointer(xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, 14, "WM_WINDOW_ROLE"), nullptr));
    const auto tree = MakeReplyPointer(
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr));
    std::vector<ShownWindow> windows;
    for (int child = 0; child < xcb_query_tree_children_length(tree.get()); ++child) {
        const xcb_window_t window = xcb_query_tree_children(tree.get())[child];
        const auto role = MakeReplyPointer(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, atom->atom, XCB_ATOM_ANY, 0, 64),
            nullptr));
        const auto attributes = MakeReplyPointer(xcb_get_window_attributes_reply(
            connection_, xcb_get_window_attributes(connection_, window), nullptr));
        if (role && attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE)
            windows.push_back(
                {window,
                 {static_cast<const char*>(xcb_get_property_value(role.get())),
                  static_cast<std::size_t>(xcb_get_property_value_length(role.get()))}});
    }
    return windows;
}

xcb_window_t XDesktop::Find(const std::string& role) {
    for (const ShownWindow& shown : Windows())
        if (shown.role == role)
            return shown.window;
    return 0;
}

// The toolkit sets the focus to a child window of its own.
bool XDesktop::HasFocus(xcb_window_t window) {
    const auto focus = MakeReplyPointer(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    for (xcb_window_t inner = focus ? focus->focus : 0; inner > 1;) {
        if (inner == window)
            return true;
        const auto tree = MakeReplyPointer(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, inner), nullptr));
        inner = tree ? tree->parent : 0;
    }
    return false;
}

bool XDesktop::Shows(const std::string& role) { return Find(role) != 0; }

void XDesktop::AwaitWindow(const std::string& role) {
    if (ComesTrue([&] {
            const xcb_window_t window = Find(role);
            return window && HasFocus(window);
        }))
        return;
    std::string shown;
    for (const ShownWindow& other : Windows())
        shown += " '" + other.role + (HasFocus(other.window) ? "' (focus)" : "'");
    throw std::runtime_error("no window " + role + " with the focus; on the screen:" + shown);
}

std::vector<std::uint8_t> XDesktop::Screenshot() {
    const auto image = MakeReplyPointer(xcb_get_image_reply(
        connection_,
        xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, 0, 0, width_, height_, ~0U),
        nullptr));
    const std::uint8_t* bytes = xcb_get_image_data(image.get());
    return {bytes, bytes + xcb_get_image_data_length(image.get())};
}

void XDesktop::ForceRedraw() {
    const xcb_window_t cover = xcb_generate_id(connection_);
    const std::uint32_t values[] = {0x00FF00FF, 1}; // its colour; no window manager's business
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, cover, root_, 0, 0, width_, height_, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(connection_, cover);
    xcb_destroy_window(connection_, cover);
    xcb_flush(connection_);
}

void XDesktop::Press(const std::string& key) { Send({"key", key}); }

void XDesktop::Type(const std::string& text) { Send({"type", text}); }

bool XDesktop::Click(const std::string& role, int x, int y) {
    const xcb_window_t window = Find(role);
    const auto area = MakeReplyPointer(
        xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
    if (!area)
        return false;
    const int left = area->x + x + (x < 0 ? area->width : 0);
    const int top = area->y + y + (y < 0 ? area->height : 0);
    Send({"mousemove", std::to_string(left), std::to_string(top), "click", "1"});
    return true;
}

void XDesktop::Send(std::vector<std::string> command) {
    command.insert(command.begin(), "/usr/bin/xdotool");
    ChildProcess xdotool(command, {.environment = Variables()});
    if (xdotool.Wait() != 0)
        throw std::runtime_error("cannot send keys or clicks:\n" + xdotool.Transcript());
}

} // namespace test_support
