#include "zel/ZelContents.h"

namespace vork {

namespace {
// Registered at start-up so a reply can name any of them as a list's
// element class before the class was otherwise used.
RegisterMappedClass<Site> registerSite;
RegisterMappedClass<Credential> registerCredential;
RegisterMappedClass<UIChoice> registerUIChoice;
RegisterMappedClass<OsInstallItem> registerOsInstallItem;
RegisterMappedClass<OsInstallCategory> registerOsInstallCategory;
RegisterMappedClass<Parameter> registerParameter;
RegisterMappedClass<Payload> registerPayload;
RegisterMappedClass<ClientSitePrivilegesResponse> registerSitePrivilegesResponse;
RegisterMappedClass<CredentialsResponse> registerCredentialsResponse;
}  // namespace

const MappedClass &KeepAliveRequest::mapping() {
    static const MappedClass cls = MappedClass::define<KeepAliveRequest>("KeepAliveRequest")
                                       .alias("keepAlive")
                                       .fieldOrder({"invalidate"})
                                       .field("invalidate", &KeepAliveRequest::invalidate);
    return cls;
}

const MappedClass &ComputerInventoryPrefsRequest::mapping() {
    static const MappedClass cls =
        MappedClass::define<ComputerInventoryPrefsRequest>("ComputerInventoryPrefsRequest")
            .alias("computerInventoryCollectionPreference")
            .fieldOrder({"platform"})
            .field("platform", &ComputerInventoryPrefsRequest::platform);
    return cls;
}

const MappedClass &UIChoice::mapping() {
    static const MappedClass cls = MappedClass::define<UIChoice>("UIChoice")
                                       .alias("config")
                                       .fieldOrder({"label", "description", "value", "visible", "enabled"})
                                       .field("label", &UIChoice::label)
                                       .field("description", &UIChoice::description)
                                       .field("value", &UIChoice::value)
                                       .field("visible", &UIChoice::visible)
                                       .field("enabled", &UIChoice::enabled);
    return cls;
}

const MappedClass &OsInstallItem::mapping() {
    static const MappedClass cls = MappedClass::define<OsInstallItem>("OsInstallItem")
                                       .alias("osInstallItem")
                                       .fieldOrder({"label", "description", "enabled", "visible", "value"})
                                       .field("label", &OsInstallItem::label)
                                       .field("description", &OsInstallItem::description)
                                       .field("enabled", &OsInstallItem::enabled)
                                       .field("visible", &OsInstallItem::visible)
                                       .field("value", &OsInstallItem::value);
    return cls;
}

const MappedClass &OsInstallCategory::mapping() {
    static const MappedClass cls =
        MappedClass::define<OsInstallCategory>("OsInstallCategory")
            .alias("osInstallCategory")
            .fieldOrder({"description", "enabled", "visible", "value", "osInstallItem"})
            .field("description", &OsInstallCategory::description)
            .field("enabled", &OsInstallCategory::enabled)
            .field("visible", &OsInstallCategory::visible)
            .field("value", &OsInstallCategory::value)
            .field("osInstallItem", &OsInstallCategory::osInstallItem);
    return cls;
}

const MappedClass &ClientSitePrivilegesRequest::mapping() {
    static const MappedClass cls = MappedClass::define<ClientSitePrivilegesRequest>("ClientSitePrivilegesRequest")
                                       .alias("clientSitePrivileges")
                                       .fieldOrder({"clientAppName"})
                                       .field("clientAppName", &ClientSitePrivilegesRequest::clientAppName);
    return cls;
}

const MappedClass &ClientSiteSelectionRequest::mapping() {
    static const MappedClass cls = MappedClass::define<ClientSiteSelectionRequest>("ClientSiteSelectionRequest")
                                       .alias("clientSiteSelection")
                                       .fieldOrder({"siteID"})
                                       .field("siteID", &ClientSiteSelectionRequest::siteID);
    return cls;
}

const MappedClass &Site::mapping() {
    static const MappedClass cls = MappedClass::define<Site>("Site")
                                       .alias("site")
                                       .fieldOrder({"siteID=id", "name", "privileges", "currentUserSite"})
                                       .field("siteID", &Site::siteID)
                                       .field("name", &Site::name)
                                       .field("privileges", &Site::privileges)
                                       .field("currentUserSite", &Site::currentUserSite);
    return cls;
}

void Site::addPrivilege(const std::string &privilege) {
    privileges.push_back(std::make_shared<VCCStringListItem>("privilege", privilege));
}

OptionalText Site::privilegeAtIndex(int32_t index) const {
    if (privileges.size() < static_cast<uint32_t>(index)) return std::nullopt;
    return privileges.at(static_cast<uint32_t>(index))->stringValue();
}

const MappedClass &ClientSitePrivilegesResponse::mapping() {
    static const MappedClass cls =
        MappedClass::define<ClientSitePrivilegesResponse>("ClientSitePrivilegesResponse")
            .alias("clientSitePrivileges")
            .fieldOrder({"sites:Site"})
            .field("sites", &ClientSitePrivilegesResponse::sites);
    return cls;
}

const MappedClass &CredentialsRequest::mapping() {
    static const MappedClass cls = MappedClass::define<CredentialsRequest>("CredentialsRequest")
                                       .alias("credentials")
                                       .fieldOrder({"credentialType", "objectID"})
                                       .field("credentialType", &CredentialsRequest::credentialType)
                                       .field("objectID", &CredentialsRequest::objectID);
    return cls;
}

const MappedClass &Credential::mapping() {
    static const MappedClass cls = MappedClass::define<Credential>("Credential")
                                       .alias("credential")
                                       .fieldOrder({"objectID", "username", "password"})
                                       .field("objectID", &Credential::objectID)
                                       .field("username", &Credential::username)
                                       .field("password", &Credential::password);
    return cls;
}

const MappedClass &CredentialsResponse::mapping() {
    static const MappedClass cls = MappedClass::define<CredentialsResponse>("CredentialsResponse")
                                       .alias("credentials")
                                       .fieldOrder({"credentials:Credential"})
                                       .field("credentials", &CredentialsResponse::credentials);
    return cls;
}

const MappedClass &AdminAddObjectRequest::mapping() {
    static const MappedClass cls = MappedClass::define<AdminAddObjectRequest>("AdminAddObjectRequest")
                                       .alias("adminAddObject")
                                       .fieldOrder({"platform"})
                                       .field("platform", &AdminAddObjectRequest::platform);
    return cls;
}

const MappedClass &AdminSaveRequest::mapping() {
    static const MappedClass cls = MappedClass::define<AdminSaveRequest>("AdminSaveRequest")
                                       .alias("adminSave")
                                       .fieldOrder({"platform"})
                                       .field("modifiedPackages", &AdminSaveRequest::modifiedPackages)
                                       .field("modifiedPackageOsChoices", &AdminSaveRequest::modifiedPackageOsChoices)
                                       .field("modifiedGroups", &AdminSaveRequest::modifiedGroups)
                                       .field("modifiedScripts", &AdminSaveRequest::modifiedScripts)
                                       .field("modifiedConfigurations", &AdminSaveRequest::modifiedConfigurations)
                                       .field("modifiedPrinters", &AdminSaveRequest::modifiedPrinters)
                                       .field("deletedObjects", &AdminSaveRequest::deletedObjects);
    return cls;
}

const MappedClass &Parameter::mapping() {
    static const MappedClass cls = MappedClass::define<Parameter>("Parameter")
                                       .alias("config")
                                       .fieldOrder({"parameterId=id", "name", "ip", "share", "type", "zone", "domain",
                                                    "username", "password", "enableLoadBalancing", "master",
                                                    "backupID"})
                                       .field("parameterId", &Parameter::parameterId)
                                       .field("name", &Parameter::name)
                                       .field("ip", &Parameter::ip)
                                       .field("share", &Parameter::share)
                                       .field("type", &Parameter::type)
                                       .field("zone", &Parameter::zone)
                                       .field("domain", &Parameter::domain)
                                       .field("username", &Parameter::username)
                                       .field("password", &Parameter::password)
                                       .field("enableLoadBalancing", &Parameter::enableLoadBalancing)
                                       .field("master", &Parameter::master)
                                       .field("backupID", &Parameter::backupID);
    return cls;
}

const MappedClass &Payload::mapping() {
    static const MappedClass cls = MappedClass::define<Payload>("Payload")
                                       .alias("config")
                                       .fieldOrder({"code", "shortname", "longname", "version"})
                                       .field("code", &Payload::code)
                                       .field("shortname", &Payload::shortname)
                                       .field("longname", &Payload::longname)
                                       .field("version", &Payload::version);
    return cls;
}

const MappedClass &GetPrinterInfoRequest::mapping() {
    static const MappedClass cls = MappedClass::define<GetPrinterInfoRequest>("GetPrinterInfoRequest")
                                       .alias("getPrinterInfo")
                                       .fieldOrder({"printerId"})
                                       .field("printerId", &GetPrinterInfoRequest::printerId);
    return cls;
}

const MappedClass &StorePPDRequest::mapping() {
    static const MappedClass cls = MappedClass::define<StorePPDRequest>("StorePPDRequest")
                                       .alias("storePPDRequest")
                                       .fieldOrder({"platform"})
                                       .field("platform", &StorePPDRequest::platform);
    return cls;
}

const MappedClass &RetrieveScriptDataRequest::mapping() {
    static const MappedClass cls = MappedClass::define<RetrieveScriptDataRequest>("RetrieveScriptDataRequest")
                                       .alias("retrieveScriptData")
                                       .fieldOrder({"scriptID"})
                                       .field("scriptID", &RetrieveScriptDataRequest::scriptID);
    return cls;
}

const MappedClass &PackageIndexRequest::mapping() {
    static const MappedClass cls = MappedClass::define<PackageIndexRequest>("PackageIndexRequest")
                                       .alias("packageIndex")
                                       .fieldOrder({"platform"})
                                       .field("platform", &PackageIndexRequest::platform);
    return cls;
}

const MappedClass &StoreAutoRun::mapping() {
    static const MappedClass cls = MappedClass::define<StoreAutoRun>("StoreAutoRun")
                                       .alias("storeAutoRun")
                                       .fieldOrder({"platform"})
                                       .field("osName", &StoreAutoRun::osName);
    return cls;
}

}  // namespace vork
