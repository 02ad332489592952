#pragma once

#include <memory>
#include <string>

#include "infra/app_settings.h"
#include "infra/error_handler.h"
#include "infra/form_restore.h"

// The objects that live for the whole process, made once at start and never replaced.
namespace pellago {

extern std::unique_ptr<CErrorHandler> gErrorHandler;
extern std::unique_ptr<CAppSettings> gAppSettings;
extern std::unique_ptr<CFormRestore> gFormRestore;
extern std::string gAppTitle;

/// The first steps of every program's start: error handler, title, settings, placements, each also where
/// the one before it could not be made.
void CreateProcessObjects();

}  // namespace pellago
