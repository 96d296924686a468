"""What the server answers to each command, from the reply fixture."""

import hashlib
import json
import os
import threading
from pathlib import Path

from vorkproto import (INVALID_CONTENT, PERMISSION_ERROR, SUCCESS, Mapped, ReplyContent)

FIXTURE_FILE = Path(__file__).resolve().parent / "fixtures" / "replies.json"

# Reply classes, fields in wire order.
KEEP_ALIVE = Mapped("keepAlive", [("invalidate", "flag"), ("checkInFrequency", "int")])
UI_CHOICE = Mapped("config", [("label", "text"), ("description", "text"), ("value", "flag"),
                              ("visible", "flag"), ("enabled", "flag")])
OS_INSTALL_ITEM = Mapped("osInstallItem", [("label", "text"), ("description", "text"),
                                           ("enabled", "flag"), ("visible", "flag"), ("value", "flag")])
OS_INSTALL_CATEGORY = Mapped("osInstallCategory", [
    ("description", "text"), ("enabled", "flag"), ("visible", "flag"), ("value", "flag"),
    ("osInstallItem", "object", OS_INSTALL_ITEM)])
INVENTORY = Mapped("computerInventoryCollectionPreference", [
    ("platform", "text"), ("inventoryChoices", "array", UI_CHOICE),
    ("osInstallCategories", "array", OS_INSTALL_CATEGORY)])

SITE = Mapped("site", [("id", "int"), ("name", "text"), ("privileges", "strings", "privilege"),
                       ("currentUserSite", "flag")])
SITE_PRIVILEGES = Mapped("clientSitePrivileges", [("sites", "array", SITE)])
SITE_SELECTION = Mapped("clientSiteSelection", [("siteID", "int"), ("name", "text")])

CREDENTIAL = Mapped("credential", [("objectID", "int"), ("username", "text"), ("password", "text")])
CREDENTIALS = Mapped("credentials", [("credentials", "array", CREDENTIAL)])

PARAMETER = Mapped("config", [
    ("id", "int"), ("name", "text"), ("ip", "text"), ("share", "text"), ("type", "text"),
    ("zone", "text"), ("domain", "text"), ("username", "text"), ("password", "text"),
    ("enableLoadBalancing", "flag"), ("master", "flag"), ("backupID", "int")])
PAYLOAD = Mapped("config", [("code", "text"), ("shortname", "text"), ("longname", "text"),
                            ("version", "text")])
ADD_OBJECT = Mapped("adminAddObject", [("platform", "text"), ("parameters", "array", PARAMETER),
                                       ("payloads", "array", PAYLOAD)])
ADMIN_SAVE = Mapped("adminSave", [("savedObjectQty", "int"), ("deletedObjectQty", "int")])

PRINTER = Mapped("printer", [
    ("id", "int"), ("name", "text"), ("category", "text"), ("uri", "text"), ("location", "text"),
    ("model", "text"), ("info", "text"), ("makeDefault", "flag"), ("useGeneric", "flag"),
    ("ppd", "text"), ("ppdContents", "data"), ("ppdPath", "text")])
PRINTER_INFO = Mapped("getPrinterInfo", [("printer", "object", PRINTER)])
STORE_PPD = Mapped("storePPD", [("platform", "text"), ("accepted", "flag")])

SCRIPT = Mapped("script", [
    ("id", "int"), ("name", "text"), ("filename", "text"), ("category", "text"), ("info", "text"),
    ("notes", "text"), ("priority", "text"), ("parameters", "strings", "parameter"),
    ("osRequirements", "text"), ("scriptContents", "data"), ("md5", "text"), ("sha512", "text")])
SCRIPT_DATA = Mapped("retrieveScriptData", [("script", "object", SCRIPT)])

PACKAGE = Mapped("package", [
    ("id", "int"), ("name", "text"), ("filename", "text"), ("category", "text"), ("info", "text"),
    ("size", "int"), ("md5", "text"), ("sha512", "text"), ("url", "text")])
PACKAGE_INDEX = Mapped("packageIndex", [("platform", "text"), ("packages", "array", PACKAGE)])

SIDE_CAR_SUFFIXES = (".md5", ".sha512")


def load_fixture(path=FIXTURE_FILE):
    with open(path, encoding="utf-8") as f:
        return json.load(f)


def _int(text):
    """Leading decimal integer of a text, 0 when there is none."""
    text = (text or "").strip()
    digits = ""
    for i, ch in enumerate(text):
        if ch.isdigit() or (i == 0 and ch in "+-"):
            digits += ch
        else:
            break
    try:
        return int(digits)
    except ValueError:
        return 0


def _flag(text):
    t = (text or "").strip().lstrip("+-").lstrip("0")
    return bool(t) and t[0] in "YyTt123456789"


class DigestCache:
    """MD5 and SHA-512 of files, recomputed when a file changes."""

    def __init__(self):
        self._cache = {}
        self._lock = threading.Lock()

    def digests(self, path):
        st = os.stat(path)
        key = (str(path), st.st_size, st.st_mtime_ns)
        with self._lock:
            if key in self._cache:
                return self._cache[key]
        md5, sha = hashlib.md5(), hashlib.sha512()
        with open(path, "rb") as f:
            while chunk := f.read(1 << 20):
                md5.update(chunk)
                sha.update(chunk)
        result = {"size": st.st_size, "md5": md5.hexdigest(), "sha512": sha.hexdigest()}
        with self._lock:
            self._cache[key] = result
        return result


def served_files(files_dir):
    """The regular files a folder serves, by name, without hash side-cars."""
    if not files_dir or not os.path.isdir(files_dir):
        return []
    names = []
    for entry in sorted(os.scandir(files_dir), key=lambda e: e.name):
        if entry.name.startswith(".") or not entry.is_file():
            continue
        if entry.name.endswith(SIDE_CAR_SUFFIXES):
            continue
        names.append(entry.name)
    return names


class Replies:
    """Builds the reply contents; faults that change the data come in as flags."""

    def __init__(self, fixture, files_dir=None, digests=None):
        self.fixture = fixture
        self.files_dir = files_dir
        self.digests = digests or DigestCache()
        self._handlers = {
            ".keepaliverequest": self.keep_alive,
            ".computerinventorycollectionpreferencerequest": self.inventory,
            ".clientsiteprivilegesrequest": self.site_privileges,
            ".clientsiteselectionrequest": self.site_selection,
            ".credentialsrequest": self.credentials,
            ".adminsaverequest": self.admin_save,
            ".adminaddobjectrequest": self.add_object,
            ".getprinterinforequest": self.printer_info,
            ".storeppdrequest": self.store_ppd,
            ".retrievescriptdatarequest": self.script_data,
            ".packageindexrequest": self.package_index,
        }

    def answer(self, content, array_without_class=False):
        """ReplyContent for one checked request content."""
        cmd = content.command
        rc = self._handlers[cmd.suffix](content, array_without_class)
        rc.request_uuid = content.uuid
        rc.response_type = cmd.response_type
        return rc

    # --- one handler per command -------------------------------------------

    def keep_alive(self, c, _):
        values = {"invalidate": _flag(c.values.get("invalidate")),
                  "checkInFrequency": self.fixture["keepAlive"]["checkInFrequency"]}
        return ReplyContent(SUCCESS, mapped=KEEP_ALIVE, values=values)

    def inventory(self, c, _):
        values = dict(self.fixture["inventory"])
        values["platform"] = c.values.get("platform")
        return ReplyContent(SUCCESS, mapped=INVENTORY, values=values)

    def site_privileges(self, c, array_without_class):
        if "clientAppName" not in c.values:
            return ReplyContent(INVALID_CONTENT, "The request names no client application.")
        sites = []
        for s in self.fixture["sites"]:
            site = dict(s)
            if not array_without_class:
                # Replies carry no privilege lists unless asked to break the reader.
                site.pop("privileges", None)
            sites.append(site)
        return ReplyContent(SUCCESS, mapped=SITE_PRIVILEGES, values={"sites": sites})

    def site_selection(self, c, _):
        site_id = _int(c.values.get("siteID"))
        for s in self.fixture["sites"]:
            if s["id"] == site_id:
                return ReplyContent(SUCCESS, mapped=SITE_SELECTION,
                                    values={"siteID": site_id, "name": s["name"]})
        return ReplyContent(PERMISSION_ERROR, f"Site {site_id} is not available to this user.",
                            mapped=SITE_SELECTION, values={"siteID": site_id})

    def credentials(self, c, _):
        kind = c.values.get("credentialType")
        if not kind:
            return ReplyContent(INVALID_CONTENT, "The request names no credential type.")
        found = self.fixture["credentials"].get(kind, [])
        return ReplyContent(SUCCESS, mapped=CREDENTIALS, values={"credentials": found})

    def admin_save(self, c, _):
        data = c.data_element
        if data is None:
            return ReplyContent(INVALID_CONTENT, "The save request carries no objects.")
        saved = deleted = 0
        for lst in data:
            if not isinstance(lst.tag, str):
                continue
            count = sum(1 for o in lst if isinstance(o.tag, str))
            if lst.tag.rsplit("}", 1)[-1] == "deletedObjects":
                deleted += count
            else:
                saved += count
        return ReplyContent(SUCCESS, mapped=ADMIN_SAVE,
                            values={"savedObjectQty": saved, "deletedObjectQty": deleted})

    def add_object(self, c, _):
        values = dict(self.fixture["adminAddObject"])
        values["platform"] = c.values.get("platform")
        return ReplyContent(SUCCESS, mapped=ADD_OBJECT, values=values)

    def printer_info(self, c, _):
        printer_id = _int(c.values.get("printerId"))
        for p in self.fixture["printers"]:
            if p["id"] == printer_id:
                return ReplyContent(SUCCESS, mapped=PRINTER_INFO, values={"printer": p})
        return ReplyContent(INVALID_CONTENT, f"There is no printer {printer_id}.")

    def store_ppd(self, c, _):
        values = {"platform": c.values.get("platform"),
                  "accepted": self.fixture["storePPD"]["accepted"]}
        return ReplyContent(SUCCESS, mapped=STORE_PPD, values=values)

    def script_data(self, c, _):
        script_id = _int(c.values.get("scriptID"))
        for s in self.fixture["scripts"]:
            if s["id"] == script_id:
                script = dict(s)
                raw = s["scriptContents"].encode("utf-8")
                script["md5"] = hashlib.md5(raw).hexdigest()
                script["sha512"] = hashlib.sha512(raw).hexdigest()
                return ReplyContent(SUCCESS, mapped=SCRIPT_DATA, values={"script": script})
        return ReplyContent(INVALID_CONTENT, f"There is no script {script_id}.")

    def package_index(self, c, _):
        return ReplyContent(SUCCESS, mapped=PACKAGE_INDEX,
                            values={"platform": c.values.get("platform"), "packages": self.packages()})

    def packages(self):
        """Every served file as a package, with the fixture's details where it has them."""
        known = {p["filename"]: p for p in self.fixture["packages"]}
        out = []
        next_id = 1000
        for name in served_files(self.files_dir):
            meta = known.get(name)
            if meta is None:
                next_id += 1
                meta = {"id": next_id, "name": os.path.splitext(name)[0], "filename": name}
            entry = dict(meta)
            entry.update(self.digests.digests(os.path.join(self.files_dir, name)))
            entry["url"] = "/files/" + name
            out.append(entry)
        return out

