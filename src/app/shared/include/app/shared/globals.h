#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/windows/named_mutex.h"

// What every part of the tray program may read, and its small shared routines.
namespace pellago {

class DE1;

/// Whether the main window is to be shown at start.
extern bool gShowMainWindow;
extern bool gCloseRequested;
extern bool gUpdateRequested;
/// The provider and the channel that the command line names, -1 for none.
extern std::int32_t gProviderID;
extern std::int32_t gChannelID;
/// Another instance was running at start.
extern bool gAlreadyRunning;
/// Held by the one instance that keeps running.
extern std::unique_ptr<NamedMutex> gMutexHandle;
/// The background of the themed controls: a system colour.
extern std::uint32_t gThemeBackColor;

/// The database of all windows, made when it is first asked for; that does not open it.
DE1& DataEnvironment();
/// To be called when the last window is gone.
void CloseDataEnvironment();

/// Takes the single-instance mutex, or answers true when another process has it.
bool IsAlreadyRunning();
void ReleaseAppMutex();

void SetThemeBackColor();

/// A notice that closes itself after `seconds`; returns when it is closed. An empty title is the product's
/// name. Errors are ignored.
void ShowTimedMessage(const std::string& message, const std::string& title, std::int32_t seconds);

/// The number of a clipboard format; 0 when it cannot be registered.
std::uint16_t RegisterClipFormat(const std::string& name);

}  // namespace pellago
