// Server calls from the shell: one command per call of the library's C
// interface, each with the session options of Session.h.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <climits>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "Command.h"
#include "Output.h"
#include "Session.h"

namespace vorkcomm {
namespace {

// Runs a call after the session is configured; prints and maps its answer.
template <class Call>
int serverCall(const Options &o, const char *what, Call &&call) {
    if (int rc = configureSession(o); rc != kExitOk) return rc;
    return reportAnswer(call(), o, what);
}

// Commands taking one integer argument.
template <class Fn>
int withNumber(const Options &o, const char *usage, const char *what, Fn fn) {
    long long value = 0;
    if (o.positional.size() != 1 || !parseNumber(o.positional[0], INT_MIN, INT_MAX, value)) return usageError(usage);
    return serverCall(o, what, [&] { return fn(static_cast<int>(value)); });
}

int keepAliveCommand(const Options &o) {
    if (!o.positional.empty()) return usageError("keep-alive [--invalidate] [session options]");
    return serverCall(o, "keep-alive", [&] { return keepAlive(o.has("invalidate") ? 1 : 0); });
}

int inventoryPrefsCommand(const Options &o) {
    if (!o.positional.empty()) return usageError("inventory-prefs [session options]");
    return serverCall(o, "inventory-prefs", [] { return computerInventoryPrefs(); });
}

int sitePrivilegesCommand(const Options &o) {
    if (o.positional.size() != 1) return usageError("site-privileges APPLICATION [session options]");
    return serverCall(o, "site-privileges", [&] { return clientSitePrivileges(o.positional[0].c_str()); });
}

int siteSelectCommand(const Options &o) {
    return withNumber(o, "site-select SITE-ID [session options]", "site-select",
                      [](int id) { return clientSiteSelection(id); });
}

int adminSaveCommand(const Options &o) {
    std::string xml;
    if (o.has("file")) {
        std::ifstream in(o.get("file"));
        if (!in) {
            std::fprintf(stderr, "vorkcomm: cannot read %s\n", o.get("file").c_str());
            return kExitUsage;
        }
        std::ostringstream text;
        text << in.rdbuf();
        xml = text.str();
    } else if (o.positional.size() == 1) {
        xml = o.positional[0];
    } else {
        return usageError("admin-save (XML | --file PATH) [session options]");
    }
    return serverCall(o, "admin-save", [&] { return adminSave(xml.c_str()); });
}

int adminAddObjectCommand(const Options &o) {
    if (!o.positional.empty()) return usageError("admin-add-object [session options]");
    return serverCall(o, "admin-add-object", [] { return adminAddObject(); });
}

int printerInfoCommand(const Options &o) {
    return withNumber(o, "printer-info PRINTER-ID [session options]", "printer-info",
                      [](int id) { return getPrinterInfo(id); });
}

int scriptDataCommand(const Options &o) {
    return withNumber(o, "script-data SCRIPT-ID [session options]", "script-data",
                      [](int id) { return retrieveScriptData(id); });
}

int udidCommand(const Options &o) {
    if (!o.positional.empty()) return usageError("udid");
    const char *udid = getUdid();
    if (!udid || !*udid) {
        std::fprintf(stderr, "no hardware UUID on this machine\n");
        return kExitFailure;
    }
    return emit(o, udid, {{"udid", std::string(udid)}}, kExitOk);
}

int cleanXmlCommand(const Options &o) {
    if (o.positional.size() != 1) return usageError("clean-xml TEXT");
    const char *cleaned = removeInvalidXmlData(o.positional[0].c_str());
    if (!cleaned) {
        std::fprintf(stderr, "vorkcomm: the text is not UTF-8\n");
        return kExitFailure;
    }
    return emit(o, cleaned, {{"text", std::string(cleaned)}}, kExitOk);
}

std::string withSession(const char *arguments) {
    std::string usage = arguments;
    if (!usage.empty()) usage += " ";
    return usage + kSessionUsage;
}

CommandRegistrar r1({"keep-alive", withSession("[--invalidate]"), "keep the server session alive", keepAliveCommand, std::string(kSessionOptions) + " invalidate"});
CommandRegistrar r2({"inventory-prefs", withSession(""), "the server's inventory collection preferences",
                     inventoryPrefsCommand, kSessionOptions});
CommandRegistrar r3({"site-privileges", withSession("APPLICATION"), "sites the user may work in for an application",
                     sitePrivilegesCommand, kSessionOptions});
CommandRegistrar r4({"site-select", withSession("SITE-ID"), "tell the server which site was chosen",
                     siteSelectCommand, kSessionOptions});
CommandRegistrar r5({"admin-save", withSession("(XML | --file PATH)"), "save objects (command-data element)",
                     adminSaveCommand, std::string(kSessionOptions) + " file="});
CommandRegistrar r6({"admin-add-object", withSession(""), "what the server offers for a new object",
                     adminAddObjectCommand, kSessionOptions});
CommandRegistrar r7({"printer-info", withSession("PRINTER-ID"), "a printer's definition", printerInfoCommand, kSessionOptions});
CommandRegistrar r8({"script-data", withSession("SCRIPT-ID"), "a script's data", scriptDataCommand, kSessionOptions});
CommandRegistrar r9({"udid", "", "this machine's hardware UUID", udidCommand});
CommandRegistrar r10({"clean-xml", "TEXT", "remove references to characters XML forbids", cleanXmlCommand});

}  // namespace
}  // namespace vorkcomm
