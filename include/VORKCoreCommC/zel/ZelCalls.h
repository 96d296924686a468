#pragma once
/** \file
 * The server calls. Each call object builds its request content, wraps it in
 * a message of its request type (kApplicationIdentifier + suffix) and
 * submits it through its ZelInterface; execute answers the whole response
 * message as XML bytes, failures included (status 1999).
 *
 * \code
 * auto config = std::make_shared<vork::VCCConfig>();
 * config->setZelUrl("https://server.example:8443");
 * auto interface = std::make_shared<vork::ZelInterface>();
 * interface->setZelConfig(config);
 * vork::ZelCallKeepAlive call;
 * call.setZelInterface(interface);
 * std::string xml = call.execute();
 * \endcode
 */
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/base/Exception.h"
#include "VORKCoreCommC/message/VCCMessage.h"
#include "VORKCoreCommC/zel/ZelContents.h"
#include "VORKCoreCommC/zel/ZelInterface.h"

namespace vork {

/// \name Request types
/// Suffixes of the request types, each following kApplicationIdentifier.
///@{
inline constexpr const char *kKeepAliveRequestType = ".keepaliverequest";  ///< Suffix ".keepaliverequest".
inline constexpr const char *kComputerInventoryPrefsRequestType = ".computerinventorycollectionpreferencerequest";  ///< Suffix ".computerinventorycollectionpreferencerequest".
inline constexpr const char *kClientSitePrivilegesRequestType = ".clientsiteprivilegesrequest";  ///< Suffix ".clientsiteprivilegesrequest".
inline constexpr const char *kClientSiteSelectionRequestType = ".clientsiteselectionrequest";  ///< Suffix ".clientsiteselectionrequest".
inline constexpr const char *kCredentialsRequestType = ".credentialsrequest";  ///< Suffix ".credentialsrequest".
inline constexpr const char *kAdminSaveRequestType = ".adminsaverequest";  ///< Suffix ".adminsaverequest".
inline constexpr const char *kAdminAddObjectRequestType = ".adminaddobjectrequest";  ///< Suffix ".adminaddobjectrequest".
inline constexpr const char *kGetPrinterInfoRequestType = ".getprinterinforequest";  ///< Suffix ".getprinterinforequest".
inline constexpr const char *kStorePPDRequestType = ".storeppdrequest";  ///< Suffix ".storeppdrequest".
inline constexpr const char *kRetrieveScriptDataRequestType = ".retrievescriptdatarequest";  ///< Suffix ".retrievescriptdatarequest".
inline constexpr const char *kPackageIndexRequestType = ".packageindexrequest";  ///< Suffix ".packageindexrequest".
///@}

/// kApplicationIdentifier followed by the suffix.
VORK_EXPORT std::string requestType(const char *suffix);

/// What every call object has: the interface it submits through.
class VORK_EXPORT ZelCall {
public:
    virtual ~ZelCall() = default;
    /// The interface the call submits through (shared with the caller).
    const std::shared_ptr<ZelInterface> &zelInterface() const { return zelInterface_; }
    /// Sets the interface; the call keeps a reference to it.
    void setZelInterface(std::shared_ptr<ZelInterface> interface) { zelInterface_ = std::move(interface); }

protected:
    /// Submits the request and answers the reply's XML bytes.
    std::string submitAndSerialize(const std::shared_ptr<VCCMessage> &request) const;
    /// Submits the request and answers the reply, read into resultClass when given.
    std::shared_ptr<VCCMessage> submit(const std::shared_ptr<VCCMessage> &request,
                                       const MappedClass *resultClass = nullptr) const;

private:
    std::shared_ptr<ZelInterface> zelInterface_;
};

/// The keep-alive call (request content KeepAliveRequest).
class VORK_EXPORT ZelCallKeepAlive : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// A new request message (KeepAliveRequest with invalidate copied) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createKeepAliveRequest() const;
    /// Whether the request asks the server to end the session.
    bool invalidate() const { return invalidate_; }
    /// Sets invalidate.
    void setInvalidate(bool invalidate) { invalidate_ = invalidate; }

private:
    bool invalidate_ = false;
};

/// The inventory-collection-preferences call (ComputerInventoryPrefsRequest, platform "mac").
class VORK_EXPORT ZelCallComputerInventoryPrefs : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// A new request message (ComputerInventoryPrefsRequest) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createComputerInventoryPrefsRequest() const;
};

/// The site-privileges call (ClientSitePrivilegesRequest).
class VORK_EXPORT ZelCallClientSitePrivileges : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// Runs the call and answers the reply message (owned by the caller;
    /// the status-1999 message when the exchange failed).
    std::shared_ptr<VCCMessage> executeAndReturnMessage();
    /// The reply read into resultClass (normally ClientSitePrivilegesResponse);
    /// the caller owns the message.
    std::shared_ptr<VCCMessage> executeWithResultMessageClass(const MappedClass *resultClass);
    /// A new request message (ClientSitePrivilegesRequest with clientAppName copied) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createClientSitePrivilegesRequest() const;
    /// The client application asking.
    const std::optional<std::string> &clientAppName() const { return clientAppName_; }
    /// Sets clientAppName.
    void setClientAppName(std::optional<std::string> name) { clientAppName_ = std::move(name); }

private:
    std::optional<std::string> clientAppName_;
};

/// The site-selection call (ClientSiteSelectionRequest).
class VORK_EXPORT ZelCallClientSiteSelection : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// Runs the call and answers the reply message (owned by the caller;
    /// the status-1999 message when the exchange failed).
    std::shared_ptr<VCCMessage> executeAndReturnMessage();
    /// A new request message (ClientSiteSelectionRequest with siteID copied) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createClientSiteSelectionRequest() const;
    /// The chosen site.
    int32_t siteID() const { return siteID_; }
    /// Sets siteID.
    void setSiteID(int32_t id) { siteID_ = id; }

private:
    int32_t siteID_ = 0;
};

/// Saves objects: xmlData is the complete command-data element, parsed and
/// sent as it stands. Text that does not parse is not reported: the request
/// then goes out without command data.
class VORK_EXPORT ZelCallAdminSave : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// A new request message (the parsed xmlData as command data) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createAdminSaveRequest() const;
    /// The command-data element as text.
    const std::optional<std::string> &xmlData() const { return xmlData_; }
    /// Sets xmlData.
    void setXmlData(std::optional<std::string> xml) { xmlData_ = std::move(xml); }

private:
    std::optional<std::string> xmlData_;
};

/// The add-object call (AdminAddObjectRequest, platform "mac").
class VORK_EXPORT ZelCallAdminAddObject : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// A new request message (AdminAddObjectRequest) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createAdminAddObjectRequest() const;
};

/// The printer call (GetPrinterInfoRequest).
class VORK_EXPORT ZelCallGetPrinterInfo : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// A new request message (GetPrinterInfoRequest with printerId copied) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createGetPrinterInfoRequest() const;
    /// The printer asked for.
    int32_t printerId() const { return printerId_; }
    /// Sets printerId.
    void setPrinterId(int32_t id) { printerId_ = id; }

private:
    int32_t printerId_ = 0;
};

/// The store-PPD call: the request announces the platform only (no PPD
/// content, no printer).
class VORK_EXPORT ZelCallStorePPD : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// A new request message (StorePPDRequest) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createStorePPDRequest() const;
};

/// The script call (RetrieveScriptDataRequest).
class VORK_EXPORT ZelCallRetrieveScriptData : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// A new request message (RetrieveScriptDataRequest whose scriptID is scriptId) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createRetrieveScriptDataRequest() const;
    /// The script asked for.
    int32_t scriptId() const { return scriptId_; }
    /// Sets scriptId.
    void setScriptId(int32_t id) { scriptId_ = id; }

private:
    int32_t scriptId_ = 0;
};

/// The package-index call (PackageIndexRequest, platform "mac").
class VORK_EXPORT ZelCallPackageIndex : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// A new request message (PackageIndexRequest) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createPackageIndexRequest() const;
};

/// Raised when an object is asked for an operation it does not have.
class VORK_EXPORT UnknownOperationException : public Exception {
public:
    /// The operation asked for and the class that lacks it.
    UnknownOperationException(std::string operation, std::string className);
    /// The operation asked for.
    const std::string &operation() const { return operation_; }
    /// The class that lacks it.
    const std::string &className() const { return className_; }

private:
    std::string operation_;
    std::string className_;
};

/// Stored credentials of a type (for example the account that mounts a
/// distribution point). Only execute fetches: executeAndReturnMessage and
/// executeWithResultMessageClass ask this object for the site-privileges
/// request builder, which it does not have, and so raise
/// UnknownOperationException before anything is sent. The request's
/// "objectID" always goes out as 0; objectId is not copied into it.
class VORK_EXPORT ZelFetchCredentials : public ZelCall {
public:
    /// Runs the call: the whole reply message as XML bytes, failures included
    /// (status 1999); nothing is thrown for a failed exchange. The caller owns the text.
    std::string execute();
    /// Raises UnknownOperationException; nothing is sent.
    std::shared_ptr<VCCMessage> executeAndReturnMessage();
    /// Raises UnknownOperationException; nothing is sent.
    std::shared_ptr<VCCMessage> executeWithResultMessageClass(const MappedClass *resultClass);
    /// A new request message (CredentialsRequest with credentialType copied, objectID 0) under its request type; the caller owns it.
    std::shared_ptr<VCCMessage> createCredentialsRequest() const;
    /// The kind of credentials asked for.
    const std::optional<std::string> &credentialType() const { return credentialType_; }
    /// Sets credentialType.
    void setCredentialType(std::optional<std::string> type) { credentialType_ = std::move(type); }
    /// The object the credentials belong to (kept, not sent).
    int32_t objectId() const { return objectId_; }
    /// Sets objectId.
    void setObjectId(int32_t id) { objectId_ = id; }

private:
    /// The operation both message-returning forms look for.
    std::shared_ptr<VCCMessage> requestNamed(const std::string &operation) const;

    std::optional<std::string> credentialType_;
    int32_t objectId_ = 0;
};

}  // namespace vork
