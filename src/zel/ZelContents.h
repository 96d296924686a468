#pragma once
// Request and response contents of the server calls: plain data classes
// that the message serializer writes as command data and reads replies
// into. Each declares its element name (alias) and the fields it carries,
// in wire order. Some declarations look odd and are kept as the server
// expects them:
//  - UIChoice and OsInstallItem order value/visible/enabled differently;
//  - AdminSaveRequest and StoreAutoRun name "platform", which they do not
//    have, so none of their own fields is ever written;
//  - Parameter, Payload and UIChoice share the alias "config";
//  - StorePPDRequest keeps "Request" in its alias;
//  - Site names "privileges" without an element class, so a reply whose
//    sites carry privilege lists cannot be read into Site objects.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Export.h"
#include "message/ListItems.h"
#include "message/MappedClass.h"

namespace vork {

using OptionalText = std::optional<std::string>;

// --- keep-alive

class VORK_EXPORT KeepAliveRequest : public Mapped<KeepAliveRequest> {
public:
    bool invalidate = false;
    static const MappedClass &mapping();
};

// --- inventory collection preferences

class VORK_EXPORT ComputerInventoryPrefsRequest : public Mapped<ComputerInventoryPrefsRequest> {
public:
    OptionalText platform;
    static const MappedClass &mapping();
};

// A generic on/off choice offered to the user.
class VORK_EXPORT UIChoice : public Mapped<UIChoice> {
public:
    OptionalText label;
    OptionalText description;
    bool value = false;
    bool visible = false;
    bool enabled = false;
    static const MappedClass &mapping();
};

class VORK_EXPORT OsInstallItem : public Mapped<OsInstallItem> {
public:
    OptionalText label;
    OptionalText description;
    bool enabled = false;
    bool visible = false;
    bool value = false;
    static const MappedClass &mapping();
};

// A category holds a single item, not a list.
class VORK_EXPORT OsInstallCategory : public Mapped<OsInstallCategory> {
public:
    OptionalText description;
    bool enabled = false;
    bool visible = false;
    bool value = false;
    std::shared_ptr<OsInstallItem> osInstallItem;
    static const MappedClass &mapping();
};

// --- sites

class VORK_EXPORT ClientSitePrivilegesRequest : public Mapped<ClientSitePrivilegesRequest> {
public:
    OptionalText clientAppName;
    static const MappedClass &mapping();
};

class VORK_EXPORT ClientSiteSelectionRequest : public Mapped<ClientSiteSelectionRequest> {
public:
    int32_t siteID = 0;
    static const MappedClass &mapping();
};

class VORK_EXPORT Site : public Mapped<Site> {
public:
    int32_t siteID = 0;  // element "id"
    OptionalText name;
    // Items tagged "privilege".
    std::vector<std::shared_ptr<VCCStringListItem>> privileges;
    bool currentUserSite = false;

    static const MappedClass &mapping();

    size_t privilegeQty() const { return privileges.size(); }
    void addPrivilege(const std::string &privilege);
    // The index is compared, unsigned, with the count: a count below it
    // gives none (so does any negative index); an index equal to the count
    // passes that test and raises std::out_of_range.
    OptionalText privilegeAtIndex(int32_t index) const;
};

class VORK_EXPORT ClientSitePrivilegesResponse : public Mapped<ClientSitePrivilegesResponse> {
public:
    std::vector<std::shared_ptr<Site>> sites;
    static const MappedClass &mapping();
};

// --- credentials

class VORK_EXPORT CredentialsRequest : public Mapped<CredentialsRequest> {
public:
    OptionalText credentialType;
    int32_t objectID = 0;
    static const MappedClass &mapping();
};

class VORK_EXPORT Credential : public Mapped<Credential> {
public:
    int32_t objectID = 0;
    OptionalText username;
    OptionalText password;
    static const MappedClass &mapping();
};

class VORK_EXPORT CredentialsResponse : public Mapped<CredentialsResponse> {
public:
    std::vector<std::shared_ptr<Credential>> credentials;
    static const MappedClass &mapping();
};

// --- admin save and add object

class VORK_EXPORT AdminAddObjectRequest : public Mapped<AdminAddObjectRequest> {
public:
    OptionalText platform;
    static const MappedClass &mapping();
};

class VORK_EXPORT AdminSaveRequest : public Mapped<AdminSaveRequest> {
public:
    using ObjectList = std::optional<std::vector<std::shared_ptr<MappedObject>>>;
    ObjectList modifiedPackages;
    ObjectList modifiedPackageOsChoices;
    ObjectList modifiedGroups;
    ObjectList modifiedScripts;
    ObjectList modifiedConfigurations;
    ObjectList modifiedPrinters;
    ObjectList deletedObjects;
    static const MappedClass &mapping();
};

// A server-side resource such as a file share.
class VORK_EXPORT Parameter : public Mapped<Parameter> {
public:
    int32_t parameterId = 0;  // element "id"
    OptionalText name;
    OptionalText ip;
    OptionalText share;
    OptionalText type;
    OptionalText zone;
    OptionalText domain;
    OptionalText username;
    OptionalText password;
    bool enableLoadBalancing = false;
    bool master = false;
    int32_t backupID = 0;
    static const MappedClass &mapping();
};

// A configuration payload.
class VORK_EXPORT Payload : public Mapped<Payload> {
public:
    OptionalText code;
    OptionalText shortname;
    OptionalText longname;
    OptionalText version;
    static const MappedClass &mapping();
};

// --- printer, PPD, script and package index

class VORK_EXPORT GetPrinterInfoRequest : public Mapped<GetPrinterInfoRequest> {
public:
    int32_t printerId = 0;
    static const MappedClass &mapping();
};

class VORK_EXPORT StorePPDRequest : public Mapped<StorePPDRequest> {
public:
    OptionalText platform;
    static const MappedClass &mapping();
};

class VORK_EXPORT RetrieveScriptDataRequest : public Mapped<RetrieveScriptDataRequest> {
public:
    int32_t scriptID = 0;
    static const MappedClass &mapping();
};

class VORK_EXPORT PackageIndexRequest : public Mapped<PackageIndexRequest> {
public:
    OptionalText platform;
    static const MappedClass &mapping();
};

class VORK_EXPORT StoreAutoRun : public Mapped<StoreAutoRun> {
public:
    OptionalText osName;
    static const MappedClass &mapping();
};

}  // namespace vork
