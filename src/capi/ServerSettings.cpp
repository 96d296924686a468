// Server settings and conveniences.
#include "VORKCoreCommC/server.h"

#include <memory>
#include <mutex>

#include "base/CommCLog.h"
#include "base/ProcessWide.h"
#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "capi/ServerCall.h"
#include "message/RemoveInvalidXmlData.h"
#include "platform/SystemLog.h"
#include "sysinfo/VORKHardwareIdentification.h"
#include "util/UrlHelpers.h"
#include "zel/ZelInterface.h"

using namespace vork;

vork::ZelInterface *g_ZelInterface = nullptr;

namespace {
// The process's server session, made on first use and never released, so
// g_ZelInterface stays valid for the life of the process.
auto &sessions() { return processWide<ZelInterface, g_ZelInterface>(); }
std::once_flag g_defaultLogOnce;
}  // namespace

void verifyZelInterface() {
    capi::guardedVoid([] {
        sessions().getOrMake();
        std::call_once(g_defaultLogOnce, [] { CommCLog::setDefaultLog(std::make_shared<CommCLog>()); });
    });
}

namespace vork::capi {

std::shared_ptr<ZelInterface> sharedZelInterface() {
    verifyZelInterface();
    auto session = sessions().shared();
    if (!session) throw Exception("ZEL Communication Exception", "The server session could not be created");
    return session;
}

}  // namespace vork::capi

void setZelUrl(const char *zelUrl) {
    capi::guardedVoid([&] {
        platform::systemLog().get()->notice("setZelUrl was called");
        capi::sharedZelInterface()->zelConfig()->setZelUrl(capi::argument(zelUrl));
    });
}

void setZelUsername(const char *zelUsername) {
    capi::guardedVoid([&] { capi::sharedZelInterface()->zelConfig()->setZelUsername(capi::argument(zelUsername)); });
}

void setZelPassword(const char *zelPassword) {
    capi::guardedVoid([&] { capi::sharedZelInterface()->zelConfig()->setZelPassword(capi::argument(zelPassword)); });
}

void setAllowInvalidCertificate(unsigned char allowInvalidCertificate) {
    capi::guardedVoid([&] {
        capi::sharedZelInterface()->zelConfig()->setAllowInvalidCertificate(allowInvalidCertificate != 0);
    });
}

const char *getUdid(void) {
    return capi::guarded<const char *>(capi::emptyText(), [] {
        return capi::returnText(std::string_view(VORKHardwareIdentification::getHardwareUUID()));
    });
}

const char *zelURLFromUserInput(const char *userInput) {
    return capi::guarded<const char *>(nullptr, [&]() -> const char * {
        auto input = capi::argument(userInput);
        if (!input) return nullptr;
        return capi::returnText(util::zelURLFromUserInput(*input));
    });
}

const char *removeInvalidXmlData(const char *text) {
    return capi::guarded<const char *>(nullptr, [&]() -> const char * {
        auto input = capi::argument(text);
        if (!input) return nullptr;
        return capi::returnText(std::string_view(RemoveInvalidXmlData::removeInvalidEncodedChars(*input)));
    });
}
