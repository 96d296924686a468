#include "zel/ZelCalls.h"

#include "base/CommCLog.h"
#include "message/Constants.h"
#include "xml/XmlNode.h"

namespace vork {

namespace {
constexpr const char *kMacPlatform = "mac";

std::shared_ptr<VCCMessage> wrap(const char *suffix, std::shared_ptr<MappedObject> content) {
    return VCCMessage::messageWithType(requestType(suffix), CommandData(std::move(content)));
}
}  // namespace

std::string requestType(const char *suffix) { return std::string(kApplicationIdentifier) + suffix; }

std::shared_ptr<VCCMessage> ZelCall::submit(const std::shared_ptr<VCCMessage> &request,
                                            const MappedClass *resultClass) const {
    if (!zelInterface_) throw Exception("ZEL Call Error", "The call has no server interface");
    return zelInterface_->submitRequest(request, resultClass);
}

std::string ZelCall::submitAndSerialize(const std::shared_ptr<VCCMessage> &request) const {
    if (!zelInterface_) throw Exception("ZEL Call Error", "The call has no server interface");
    // A completed exchange has already written the reply back once; writing
    // the same message again would give the same bytes.
    std::optional<std::optional<std::string>> written;
    std::shared_ptr<VCCMessage> response = zelInterface_->submitRequest(request, nullptr, nullptr, &written);
    if (written) return written->value_or(std::string());
    return response->saveToXmlData().value_or(std::string());
}

// --- keep-alive

std::shared_ptr<VCCMessage> ZelCallKeepAlive::createKeepAliveRequest() const {
    auto content = std::make_shared<KeepAliveRequest>();
    content->invalidate = invalidate_;
    return wrap(kKeepAliveRequestType, content);
}

std::string ZelCallKeepAlive::execute() { return submitAndSerialize(createKeepAliveRequest()); }

// --- inventory preferences

std::shared_ptr<VCCMessage> ZelCallComputerInventoryPrefs::createComputerInventoryPrefsRequest() const {
    auto content = std::make_shared<ComputerInventoryPrefsRequest>();
    content->platform = kMacPlatform;
    return wrap(kComputerInventoryPrefsRequestType, content);
}

std::string ZelCallComputerInventoryPrefs::execute() {
    return submitAndSerialize(createComputerInventoryPrefsRequest());
}

// --- sites

std::shared_ptr<VCCMessage> ZelCallClientSitePrivileges::createClientSitePrivilegesRequest() const {
    auto content = std::make_shared<ClientSitePrivilegesRequest>();
    content->clientAppName = clientAppName_;
    return wrap(kClientSitePrivilegesRequestType, content);
}

std::string ZelCallClientSitePrivileges::execute() { return submitAndSerialize(createClientSitePrivilegesRequest()); }

std::shared_ptr<VCCMessage> ZelCallClientSitePrivileges::executeAndReturnMessage() {
    return submit(createClientSitePrivilegesRequest());
}

std::shared_ptr<VCCMessage> ZelCallClientSitePrivileges::executeWithResultMessageClass(const MappedClass *resultClass) {
    return submit(createClientSitePrivilegesRequest(), resultClass);
}

std::shared_ptr<VCCMessage> ZelCallClientSiteSelection::createClientSiteSelectionRequest() const {
    auto content = std::make_shared<ClientSiteSelectionRequest>();
    content->siteID = siteID_;
    return wrap(kClientSiteSelectionRequestType, content);
}

std::string ZelCallClientSiteSelection::execute() { return submitAndSerialize(createClientSiteSelectionRequest()); }

std::shared_ptr<VCCMessage> ZelCallClientSiteSelection::executeAndReturnMessage() {
    return submit(createClientSiteSelectionRequest());
}

// --- admin save and add object

std::shared_ptr<VCCMessage> ZelCallAdminSave::createAdminSaveRequest() const {
    // The caller's text is the whole command-data element; a parse error
    // leaves the request without command data.
    xml::XmlDocument parsed = xml::XmlDocument::parse(xmlData_.value_or(std::string()));
    xml::XmlNode element = parsed ? parsed.rootElement() : xml::XmlNode();
    if (element.isNull()) return VCCMessage::messageWithType(requestType(kAdminSaveRequestType));
    return VCCMessage::messageWithType(requestType(kAdminSaveRequestType), CommandData(element));
}

std::string ZelCallAdminSave::execute() { return submitAndSerialize(createAdminSaveRequest()); }

std::shared_ptr<VCCMessage> ZelCallAdminAddObject::createAdminAddObjectRequest() const {
    auto content = std::make_shared<AdminAddObjectRequest>();
    content->platform = kMacPlatform;
    return wrap(kAdminAddObjectRequestType, content);
}

std::string ZelCallAdminAddObject::execute() { return submitAndSerialize(createAdminAddObjectRequest()); }

// --- printer, PPD, script, package index

std::shared_ptr<VCCMessage> ZelCallGetPrinterInfo::createGetPrinterInfoRequest() const {
    auto content = std::make_shared<GetPrinterInfoRequest>();
    content->printerId = printerId_;
    return wrap(kGetPrinterInfoRequestType, content);
}

std::string ZelCallGetPrinterInfo::execute() { return submitAndSerialize(createGetPrinterInfoRequest()); }

std::shared_ptr<VCCMessage> ZelCallStorePPD::createStorePPDRequest() const {
    auto content = std::make_shared<StorePPDRequest>();
    content->platform = kMacPlatform;
    return wrap(kStorePPDRequestType, content);
}

std::string ZelCallStorePPD::execute() { return submitAndSerialize(createStorePPDRequest()); }

std::shared_ptr<VCCMessage> ZelCallRetrieveScriptData::createRetrieveScriptDataRequest() const {
    auto content = std::make_shared<RetrieveScriptDataRequest>();
    content->scriptID = scriptId_;
    return wrap(kRetrieveScriptDataRequestType, content);
}

std::string ZelCallRetrieveScriptData::execute() { return submitAndSerialize(createRetrieveScriptDataRequest()); }

std::shared_ptr<VCCMessage> ZelCallPackageIndex::createPackageIndexRequest() const {
    auto content = std::make_shared<PackageIndexRequest>();
    content->platform = kMacPlatform;
    return wrap(kPackageIndexRequestType, content);
}

std::string ZelCallPackageIndex::execute() { return submitAndSerialize(createPackageIndexRequest()); }

// --- credentials

UnknownOperationException::UnknownOperationException(std::string operation, std::string className)
    : Exception("Unknown Operation", className + " does not implement the operation " + operation),
      operation_(std::move(operation)),
      className_(std::move(className)) {}

std::shared_ptr<VCCMessage> ZelFetchCredentials::createCredentialsRequest() const {
    auto content = std::make_shared<CredentialsRequest>();
    content->credentialType = credentialType_;
    return wrap(kCredentialsRequestType, content);
}

std::string ZelFetchCredentials::execute() { return submitAndSerialize(createCredentialsRequest()); }

std::shared_ptr<VCCMessage> ZelFetchCredentials::requestNamed(const std::string &operation) const {
    if (operation == "createCredentialsRequest") return createCredentialsRequest();
    logDebugf("ZelFetchCredentials has no operation %s", operation.c_str());
    throw UnknownOperationException(operation, "ZelFetchCredentials");
}

std::shared_ptr<VCCMessage> ZelFetchCredentials::executeAndReturnMessage() {
    return submit(requestNamed("createClientSitePrivilegesRequest"));
}

std::shared_ptr<VCCMessage> ZelFetchCredentials::executeWithResultMessageClass(const MappedClass *resultClass) {
    return submit(requestNamed("createClientSitePrivilegesRequest"), resultClass);
}

}  // namespace vork
