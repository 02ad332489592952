#include "infra/process_objects.h"

#include "infra/guarded_routine.h"

namespace pellago {
namespace {

constexpr const char* kSupportMail = "pellago-support@example.org";

}  // namespace

std::unique_ptr<CErrorHandler> gErrorHandler;
std::unique_ptr<CAppSettings> gAppSettings;
std::unique_ptr<CFormRestore> gFormRestore;
std::string gAppTitle;

void CreateProcessObjects() {
    IgnoringErrors([](Statements& run) {
        run([] { gErrorHandler = std::make_unique<CErrorHandler>(); });
        run([] { gErrorHandler->Init(8, "Error Log.txt", true, false, 2, "Tracing Log.txt"); });
        run([] { gErrorHandler->SupportMail(kSupportMail); });
        run([] { gAppTitle = "Pellago"; });
        run([] { gAppSettings = std::make_unique<CAppSettings>(); });
        run([] { gAppSettings->Init("QUENLITH", "CORVANE"); });
        run([] { gFormRestore = std::make_unique<CFormRestore>(); });
        run([] { gFormRestore->Init(gAppSettings.get(), true); });
    });
}

}  // namespace pellago
