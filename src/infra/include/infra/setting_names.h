#pragma once

// The program's settings, by the names under which they are kept.
namespace pellago {

/// The section that holds them.
inline constexpr const char* kSettingsSection = "Settings";

namespace setting_name {
inline constexpr const char* kAutoStart = "AutoStart";
inline constexpr const char* kAutoUpdate = "AutoUpdate";
inline constexpr const char* kCatcherTopmost = "CatcherTopmost";
inline constexpr const char* kChannelErrors = "ChannelErrors";
inline constexpr const char* kDatabase = "RSSDS";
inline constexpr const char* kHttpCache = "HttpCache";
/// Minutes between automatic runs.
inline constexpr const char* kInterval = "Number";
inline constexpr const char* kOpacity = "Opacity";
inline constexpr const char* kProcessPriority = "ProcessPriority";
inline constexpr const char* kReadAhead = "ReadAhead";
inline constexpr const char* kSilent = "Silent";
inline constexpr const char* kStartInTray = "StartInTray";
/// The handle of the main window, by which other programs reach the one that runs.
inline constexpr const char* kWindow = "hWnd";
}  // namespace setting_name

}  // namespace pellago
