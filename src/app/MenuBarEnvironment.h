#pragma once

#include <functional>

namespace quillmarsh {

class AppSettings;
class KeyboardLayout;
class RewriteService;
class UpdateService;
class UserDefaults;
class Workspace;

/// What the menu works with. Everything outlives its model.
struct MenuBarEnvironment
{
    AppSettings& settings;
    RewriteService& rewrites;
    UpdateService& updates;
    Workspace& workspace;
    KeyboardLayout& layout;
    UserDefaults& defaults;
    /// Whether a ChatGPT account is connected; connectionChanged() tells of another answer.
    std::function<bool()> isChatGPTConnected;
};

} // namespace quillmarsh
