#pragma once
// The server calls. Each call object builds its request content, wraps it in
// a message of its request type (kApplicationIdentifier + suffix) and
// submits it through its ZelInterface; execute answers the whole response
// message as XML bytes, failures included (status 1999).
//
//   ZelCallKeepAlive call;
//   call.setZelInterface(interface);
//   call.setInvalidate(false);
//   std::string xml = call.execute();
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "base/Export.h"
#include "base/Exception.h"
#include "message/VCCMessage.h"
#include "zel/ZelContents.h"
#include "zel/ZelInterface.h"

namespace vork {

// Request types.
inline constexpr const char *kKeepAliveRequestType = ".keepaliverequest";
inline constexpr const char *kComputerInventoryPrefsRequestType = ".computerinventorycollectionpreferencerequest";
inline constexpr const char *kClientSitePrivilegesRequestType = ".clientsiteprivilegesrequest";
inline constexpr const char *kClientSiteSelectionRequestType = ".clientsiteselectionrequest";
inline constexpr const char *kCredentialsRequestType = ".credentialsrequest";
inline constexpr const char *kAdminSaveRequestType = ".adminsaverequest";
inline constexpr const char *kAdminAddObjectRequestType = ".adminaddobjectrequest";
inline constexpr const char *kGetPrinterInfoRequestType = ".getprinterinforequest";
inline constexpr const char *kStorePPDRequestType = ".storeppdrequest";
inline constexpr const char *kRetrieveScriptDataRequestType = ".retrievescriptdatarequest";
inline constexpr const char *kPackageIndexRequestType = ".packageindexrequest";

// kApplicationIdentifier followed by the suffix.
VORK_EXPORT std::string requestType(const char *suffix);

// What every call object has: the interface it submits through.
class VORK_EXPORT ZelCall {
public:
    virtual ~ZelCall() = default;
    const std::shared_ptr<ZelInterface> &zelInterface() const { return zelInterface_; }
    void setZelInterface(std::shared_ptr<ZelInterface> interface) { zelInterface_ = std::move(interface); }

protected:
    // Submits the request and answers the reply's XML bytes.
    std::string submitAndSerialize(const std::shared_ptr<VCCMessage> &request) const;
    std::shared_ptr<VCCMessage> submit(const std::shared_ptr<VCCMessage> &request,
                                       const MappedClass *resultClass = nullptr) const;

private:
    std::shared_ptr<ZelInterface> zelInterface_;
};

class VORK_EXPORT ZelCallKeepAlive : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> createKeepAliveRequest() const;
    bool invalidate() const { return invalidate_; }
    void setInvalidate(bool invalidate) { invalidate_ = invalidate; }

private:
    bool invalidate_ = false;
};

class VORK_EXPORT ZelCallComputerInventoryPrefs : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> createComputerInventoryPrefsRequest() const;
};

class VORK_EXPORT ZelCallClientSitePrivileges : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> executeAndReturnMessage();
    // The reply read into resultClass (normally ClientSitePrivilegesResponse).
    std::shared_ptr<VCCMessage> executeWithResultMessageClass(const MappedClass *resultClass);
    std::shared_ptr<VCCMessage> createClientSitePrivilegesRequest() const;
    const std::optional<std::string> &clientAppName() const { return clientAppName_; }
    void setClientAppName(std::optional<std::string> name) { clientAppName_ = std::move(name); }

private:
    std::optional<std::string> clientAppName_;
};

class VORK_EXPORT ZelCallClientSiteSelection : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> executeAndReturnMessage();
    std::shared_ptr<VCCMessage> createClientSiteSelectionRequest() const;
    int32_t siteID() const { return siteID_; }
    void setSiteID(int32_t id) { siteID_ = id; }

private:
    int32_t siteID_ = 0;
};

// Saves objects: xmlData is the complete command-data element, parsed and
// sent as it stands. Text that does not parse is not reported: the request
// then goes out without command data.
class VORK_EXPORT ZelCallAdminSave : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> createAdminSaveRequest() const;
    const std::optional<std::string> &xmlData() const { return xmlData_; }
    void setXmlData(std::optional<std::string> xml) { xmlData_ = std::move(xml); }

private:
    std::optional<std::string> xmlData_;
};

class VORK_EXPORT ZelCallAdminAddObject : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> createAdminAddObjectRequest() const;
};

class VORK_EXPORT ZelCallGetPrinterInfo : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> createGetPrinterInfoRequest() const;
    int32_t printerId() const { return printerId_; }
    void setPrinterId(int32_t id) { printerId_ = id; }

private:
    int32_t printerId_ = 0;
};

// The request announces the platform only: no PPD content, no printer.
class VORK_EXPORT ZelCallStorePPD : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> createStorePPDRequest() const;
};

class VORK_EXPORT ZelCallRetrieveScriptData : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> createRetrieveScriptDataRequest() const;
    int32_t scriptId() const { return scriptId_; }
    void setScriptId(int32_t id) { scriptId_ = id; }

private:
    int32_t scriptId_ = 0;
};

class VORK_EXPORT ZelCallPackageIndex : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> createPackageIndexRequest() const;
};

// Raised when an object is asked for an operation it does not have.
class VORK_EXPORT UnknownOperationException : public Exception {
public:
    UnknownOperationException(std::string operation, std::string className);
    const std::string &operation() const { return operation_; }
    const std::string &className() const { return className_; }

private:
    std::string operation_;
    std::string className_;
};

// Stored credentials of a type (for example the account that mounts a
// distribution point). Only execute fetches: executeAndReturnMessage and
// executeWithResultMessageClass ask this object for the site-privileges
// request builder, which it does not have, and so raise
// UnknownOperationException before anything is sent. The request's
// "objectID" always goes out as 0; objectId is not copied into it.
class VORK_EXPORT ZelFetchCredentials : public ZelCall {
public:
    std::string execute();
    std::shared_ptr<VCCMessage> executeAndReturnMessage();
    std::shared_ptr<VCCMessage> executeWithResultMessageClass(const MappedClass *resultClass);
    std::shared_ptr<VCCMessage> createCredentialsRequest() const;
    const std::optional<std::string> &credentialType() const { return credentialType_; }
    void setCredentialType(std::optional<std::string> type) { credentialType_ = std::move(type); }
    int32_t objectId() const { return objectId_; }
    void setObjectId(int32_t id) { objectId_ = id; }

private:
    // The operation both message-returning forms look for.
    std::shared_ptr<VCCMessage> requestNamed(const std::string &operation) const;

    std::optional<std::string> credentialType_;
    int32_t objectId_ = 0;
};

}  // namespace vork
