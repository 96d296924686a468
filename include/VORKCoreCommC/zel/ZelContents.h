#pragma once
/** \file
 * Request and response contents of the server calls: plain data classes
 * that the message serializer writes as command data and reads replies
 * into. Each declares its element name (alias) and the fields it carries,
 * in wire order. Some declarations look odd and are kept as the server
 * expects them:
 *  - UIChoice and OsInstallItem order value/visible/enabled differently;
 *  - AdminSaveRequest and StoreAutoRun name "platform", which they do not
 *    have, so none of their own fields is ever written;
 *  - Parameter, Payload and UIChoice share the alias "config";
 *  - StorePPDRequest keeps "Request" in its alias;
 *  - Site names "privileges" without an element class, so a reply whose
 *    sites carry privilege lists cannot be read into Site objects.
 */
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/message/ListItems.h"
#include "VORKCoreCommC/message/MappedClass.h"

namespace vork {

/// Text that may be absent (none is not written).
using OptionalText = std::optional<std::string>;

// --- keep-alive

/// Command data of the keep-alive request ("keepAlive").
class VORK_EXPORT KeepAliveRequest : public Mapped<KeepAliveRequest> {
public:
    bool invalidate = false;  ///< Asks the server to end the session.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

// --- inventory collection preferences

/// Command data of the inventory-preferences request ("computerInventoryCollectionPreference").
class VORK_EXPORT ComputerInventoryPrefsRequest : public Mapped<ComputerInventoryPrefsRequest> {
public:
    OptionalText platform;  ///< "mac" in every request the call builds.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// A generic on/off choice offered to the user (alias "config").
class VORK_EXPORT UIChoice : public Mapped<UIChoice> {
public:
    OptionalText label;        ///< Shown text.
    OptionalText description;  ///< Longer text.
    bool value = false;        ///< Whether the choice is on.
    bool visible = false;      ///< Whether the choice is shown.
    bool enabled = false;      ///< Whether the user may change it.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// One installable item of an operating-system installation.
class VORK_EXPORT OsInstallItem : public Mapped<OsInstallItem> {
public:
    OptionalText label;        ///< Shown text.
    OptionalText description;  ///< Longer text.
    bool enabled = false;      ///< Whether the user may change it.
    bool visible = false;      ///< Whether it is shown.
    bool value = false;        ///< Whether it is selected.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// A category of installable items; it holds a single item, not a list.
class VORK_EXPORT OsInstallCategory : public Mapped<OsInstallCategory> {
public:
    OptionalText description;                     ///< Shown text.
    bool enabled = false;                         ///< Whether the user may change it.
    bool visible = false;                         ///< Whether it is shown.
    bool value = false;                           ///< Whether it is selected.
    std::shared_ptr<OsInstallItem> osInstallItem;  ///< The category's item, or null.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

// --- sites

/// Command data of the site-privileges request ("clientSitePrivileges").
class VORK_EXPORT ClientSitePrivilegesRequest : public Mapped<ClientSitePrivilegesRequest> {
public:
    OptionalText clientAppName;  ///< The client application asking.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// Command data of the site-selection request ("clientSiteSelection").
class VORK_EXPORT ClientSiteSelectionRequest : public Mapped<ClientSiteSelectionRequest> {
public:
    int32_t siteID = 0;  ///< The chosen site.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// A site of the server and the current user's privileges in it.
class VORK_EXPORT Site : public Mapped<Site> {
public:
    int32_t siteID = 0;  ///< The site's number (element "id").
    OptionalText name;   ///< The site's name.
    /// The privileges, items tagged "privilege" (owned by the site).
    std::vector<std::shared_ptr<VCCStringListItem>> privileges;
    bool currentUserSite = false;  ///< Whether it is the user's current site.

    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();

    /// The number of privileges.
    size_t privilegeQty() const { return privileges.size(); }
    /// Appends a new item tagged "privilege" holding the text.
    void addPrivilege(const std::string &privilege);
    /// The index is compared, unsigned, with the count: a count below it
    /// gives none (so does any negative index); an index equal to the count
    /// passes that test and raises std::out_of_range.
    OptionalText privilegeAtIndex(int32_t index) const;
};

/// A site-privileges reply read with ZelCallClientSitePrivileges::executeWithResultMessageClass.
class VORK_EXPORT ClientSitePrivilegesResponse : public Mapped<ClientSitePrivilegesResponse> {
public:
    std::vector<std::shared_ptr<Site>> sites;  ///< The sites in document order.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

// --- credentials

/// Command data of the credentials request ("credentials").
class VORK_EXPORT CredentialsRequest : public Mapped<CredentialsRequest> {
public:
    OptionalText credentialType;  ///< The kind of credentials asked for.
    int32_t objectID = 0;         ///< Always 0 in requests the call builds.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// One stored credential of a credentials reply.
class VORK_EXPORT Credential : public Mapped<Credential> {
public:
    int32_t objectID = 0;   ///< The object the credential belongs to.
    OptionalText username;  ///< The account.
    OptionalText password;  ///< The account's password.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// A credentials reply.
class VORK_EXPORT CredentialsResponse : public Mapped<CredentialsResponse> {
public:
    std::vector<std::shared_ptr<Credential>> credentials;  ///< The credentials in document order.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

// --- admin save and add object

/// Command data of the add-object request ("adminAddObject").
class VORK_EXPORT AdminAddObjectRequest : public Mapped<AdminAddObjectRequest> {
public:
    OptionalText platform;  ///< "mac" in every request the call builds.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// Lists of modified and deleted objects. Its field order names only
/// "platform", which it does not have, so none of its lists is written.
class VORK_EXPORT AdminSaveRequest : public Mapped<AdminSaveRequest> {
public:
    /// A list of objects, absent until set.
    using ObjectList = std::optional<std::vector<std::shared_ptr<MappedObject>>>;
    ObjectList modifiedPackages;          ///< Changed packages.
    ObjectList modifiedPackageOsChoices;  ///< Changed package OS choices.
    ObjectList modifiedGroups;            ///< Changed groups.
    ObjectList modifiedScripts;           ///< Changed scripts.
    ObjectList modifiedConfigurations;    ///< Changed configurations.
    ObjectList modifiedPrinters;          ///< Changed printers.
    ObjectList deletedObjects;            ///< Deleted objects.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// A server-side resource such as a file share (alias "config").
class VORK_EXPORT Parameter : public Mapped<Parameter> {
public:
    int32_t parameterId = 0;           ///< The resource's number (element "id").
    OptionalText name;                 ///< Its name.
    OptionalText ip;                   ///< Its host address.
    OptionalText share;                ///< The share's name.
    OptionalText type;                 ///< The kind of resource.
    OptionalText zone;                 ///< Its zone.
    OptionalText domain;               ///< The account's domain.
    OptionalText username;             ///< The account.
    OptionalText password;             ///< The account's password.
    bool enableLoadBalancing = false;  ///< Whether load balancing is on.
    bool master = false;               ///< Whether it is the master resource.
    int32_t backupID = 0;              ///< The number of its backup resource.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// A configuration payload (alias "config").
class VORK_EXPORT Payload : public Mapped<Payload> {
public:
    OptionalText code;       ///< The payload's code.
    OptionalText shortname;  ///< Its short name.
    OptionalText longname;   ///< Its long name.
    OptionalText version;    ///< Its version.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

// --- printer, PPD, script and package index

/// Command data of the printer request ("getPrinterInfo").
class VORK_EXPORT GetPrinterInfoRequest : public Mapped<GetPrinterInfoRequest> {
public:
    int32_t printerId = 0;  ///< The printer asked for.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// Command data of the store-PPD request ("storePPDRequest"): the platform only.
class VORK_EXPORT StorePPDRequest : public Mapped<StorePPDRequest> {
public:
    OptionalText platform;  ///< "mac" in every request the call builds.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// Command data of the script request ("retrieveScriptData").
class VORK_EXPORT RetrieveScriptDataRequest : public Mapped<RetrieveScriptDataRequest> {
public:
    int32_t scriptID = 0;  ///< The script asked for.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// Command data of the package-index request ("packageIndex").
class VORK_EXPORT PackageIndexRequest : public Mapped<PackageIndexRequest> {
public:
    OptionalText platform;  ///< "mac" in every request the call builds.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

/// Offered to callers, used by no call. Its field order names "platform",
/// which it does not have, so osName is never written.
class VORK_EXPORT StoreAutoRun : public Mapped<StoreAutoRun> {
public:
    OptionalText osName;  ///< The operating system's name.
    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
};

}  // namespace vork
