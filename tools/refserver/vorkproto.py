"""The message envelope as the management server sees it.

Reads and checks request envelopes (XML Schema plus the shape rules the
schema cannot say), and writes reply envelopes. Written on lxml, apart from
the library's own XML code, so each side checks the other.
"""

import base64
import re
import threading
import time
import uuid as uuidlib
from dataclasses import dataclass, field
from pathlib import Path

from lxml import etree

APPLICATION_IDENTIFIER = "io.vork.agent"
MESSAGE_NAMESPACE = "http://vork.io/VORKMessage"
XSI_NAMESPACE = "http://www.w3.org/2001/XMLSchema-instance"
SCHEMA_LOCATION = MESSAGE_NAMESPACE + " ../src/main/resources/schema/VORKCommunicationSchema.xsd"
ROOT_ATTRIBUTE_ORDER = ["xmlns:ns2", "xmlns:xsi", "xsi:schemaLocation"]

SCHEMA_DIR = Path(__file__).resolve().parent / "schema"
SCHEMA_FILE = SCHEMA_DIR / "VORKMessage.xsd"

# code -> (title, message), the server's status table.
STATUS_TEXTS = {
    0: ("Success", "The action was completed successfully."),
    1301: ("Invalid Message Content",
           "The message does not contain the information necessary to perform the action."),
    1302: ("Invalid Message", "The message could not be parsed."),
    1303: ("Invalid Device Information",
           "A unique identifier for the device is required to perform the action."),
    1400: ("Authentication Error", "An authentication error has occurred."),
    1410: ("Permission Error", "The user specified does not have permission to perform the action."),
    1411: ("Invalid Login Parameters", "The user specified could not be found."),
    1421: ("Device Not Found", "The device specified could not be found."),
    1500: ("Security Error", "A security error has occurred."),
    1501: ("Device Signature Error", "A valid device signature is required to perform the action."),
    1503: ("Certificate Creation Error", "An error has occurred while creating the certificate."),
    1504: ("Clock Skew Error", "There is a discrepancy between the local time and the ZEL server time."),
    1601: ("CRUD Operation Error",
           "An error has occurred while creating, reading, updating or deleting a device."),
    1602: ("ZEL Initialization Error", "The ZEL has encountered an error while starting up."),
    1998: ("Unknown ZEL Error", "An unknown internal error has occurred."),
    1999: ("Unknown Error", "An unknown error has occurred."),
    2100: ("Policy Execution Error", "TODO"),
    2101: ("Error Updating Management Password", "TODO"),
}

SUCCESS = 0
INVALID_CONTENT = 1301
INVALID_MESSAGE = 1302
AUTHENTICATION_ERROR = 1400
PERMISSION_ERROR = 1410


@dataclass(frozen=True)
class RequestField:
    name: str
    required: bool


@dataclass(frozen=True)
class Command:
    """One request type: its command-data element and the fields it must carry."""
    suffix: str
    element: str | None          # None: the caller supplies any element (or none)
    fields: tuple = ()

    @property
    def request_type(self):
        return APPLICATION_IDENTIFIER + self.suffix

    @property
    def response_type(self):
        return APPLICATION_IDENTIFIER + self.suffix[: -len("request")] + "response"


def _f(name, required=False):
    return RequestField(name, required)


COMMANDS = [
    Command(".keepaliverequest", "keepAlive", (_f("invalidate", True),)),
    Command(".computerinventorycollectionpreferencerequest",
            "computerInventoryCollectionPreference", (_f("platform"),)),
    Command(".clientsiteprivilegesrequest", "clientSitePrivileges", (_f("clientAppName"),)),
    Command(".clientsiteselectionrequest", "clientSiteSelection", (_f("siteID", True),)),
    Command(".credentialsrequest", "credentials", (_f("credentialType"), _f("objectID", True))),
    Command(".adminsaverequest", None),
    Command(".adminaddobjectrequest", "adminAddObject", (_f("platform"),)),
    Command(".getprinterinforequest", "getPrinterInfo", (_f("printerId", True),)),
    Command(".storeppdrequest", "storePPDRequest", (_f("platform"),)),
    Command(".retrievescriptdatarequest", "retrieveScriptData", (_f("scriptID", True),)),
    Command(".packageindexrequest", "packageIndex", (_f("platform"),)),
]
COMMANDS_BY_TYPE = {c.request_type: c for c in COMMANDS}
ERROR_RESPONSE_TYPE = APPLICATION_IDENTIFIER + ".errorresponse"


def now_millis(skew_seconds=0):
    return int((time.time() + skew_seconds) * 1000)


def qualified_name(el):
    local = etree.QName(el).localname
    return f"{el.prefix}:{local}" if el.prefix else local


def describe_element(el):
    """An element as a JSON-ready tree: name as written, leaf text, attributes."""
    out = {"name": qualified_name(el)}
    if el.attrib:
        out["attributes"] = {_attribute_name(el, k): v for k, v in el.attrib.items()}
    children = [c for c in el if isinstance(c.tag, str)]
    if children:
        out["children"] = [describe_element(c) for c in children]
    else:
        out["text"] = el.text or ""
    return out


def _attribute_name(el, key):
    q = etree.QName(key)
    if q.namespace is None:
        return q.localname
    for prefix, uri in el.nsmap.items():
        if uri == q.namespace and prefix:
            return f"{prefix}:{q.localname}"
    return key


class Validator:
    """The shipped XML Schema; one lock, since an lxml schema keeps its error log."""

    def __init__(self, schema_file=SCHEMA_FILE):
        self._schema = etree.XMLSchema(etree.parse(str(schema_file)))
        self._lock = threading.Lock()

    def errors(self, doc):
        with self._lock:
            if self._schema.validate(doc):
                return []
            return [f"line {e.line}: {e.message}" for e in self._schema.error_log]


@dataclass
class ParsedContent:
    element: object
    uuid: str = ""
    xsi_type: str = ""
    command_type: str = ""
    command: Command | None = None
    status: dict = field(default_factory=dict)
    data_element: object = None      # the element inside commandData
    has_command_data: bool = False
    values: dict = field(default_factory=dict)   # field local name -> text
    content_errors: list = field(default_factory=list)

    def describe(self):
        out = {
            "uuid": self.uuid,
            "xsiType": self.xsi_type,
            "commandType": self.command_type,
            "status": self.status,
            "commandData": None,
            "fields": [],
        }
        if self.data_element is not None:
            out["commandData"] = qualified_name(self.data_element)
            out["fields"] = [describe_element(c) for c in self.data_element if isinstance(c.tag, str)]
        return out


@dataclass
class ParsedRequest:
    doc: object = None
    root: object = None
    parse_error: str = ""
    schema_errors: list = field(default_factory=list)
    shape_errors: list = field(default_factory=list)
    contents: list = field(default_factory=list)
    device: dict = field(default_factory=lambda: {"uuid": "", "macAddresses": []})
    application: str = ""
    message_timestamp: str = ""
    declaration: dict = field(default_factory=dict)
    root_attributes: list = field(default_factory=list)

    @property
    def valid(self):
        return not self.parse_error and not self.schema_errors and not self.shape_errors

    def invalid_reasons(self):
        if self.parse_error:
            return [self.parse_error]
        return self.schema_errors + self.shape_errors

    def describe_envelope(self):
        return {
            "root": qualified_name(self.root) if self.root is not None else None,
            "rootAttributes": self.root_attributes,
            "namespaces": dict(self.root.nsmap) if self.root is not None else {},
            "schemaLocation": self.root.get(f"{{{XSI_NAMESPACE}}}schemaLocation") if self.root is not None else None,
            "xmlDeclaration": self.declaration,
            "device": self.device,
            "application": self.application,
            "messageTimestamp": self.message_timestamp,
            "children": [qualified_name(c) for c in self.root if isinstance(c.tag, str)]
            if self.root is not None else [],
        }


_DECLARATION = re.compile(rb"^<\?xml\s+([^?]*)\?>")
_PSEUDO_ATTR = re.compile(r"""([A-Za-z]+)\s*=\s*(?:"([^"]*)"|'([^']*)')""")
_ROOT_START = re.compile(rb"<([A-Za-z_][\w.\-]*:)?vorkMessage\b((?:\s+[^\s=/>]+\s*=\s*(?:\"[^\"]*\"|'[^']*'))*)\s*/?>")
_ATTR = re.compile(r"""([^\s=]+)\s*=\s*(?:"[^"]*"|'[^']*')""")

_PARSER = etree.XMLParser(resolve_entities=False, no_network=True, load_dtd=False,
                          remove_blank_text=False, huge_tree=False)


def parse_request(body, validator):
    """Parses and checks one request body. Never raises."""
    req = ParsedRequest()
    m = _DECLARATION.match(body)
    if m:
        req.declaration = {k: (a or b) for k, a, b in _PSEUDO_ATTR.findall(m.group(1).decode("latin-1"))}
    try:
        req.root = etree.fromstring(body, _PARSER)
    except etree.XMLSyntaxError as e:
        req.parse_error = f"not well-formed: {e}"
        return req
    except ValueError as e:
        req.parse_error = f"not parseable: {e}"
        return req
    req.doc = req.root.getroottree()
    rm = _ROOT_START.search(body)
    if rm:
        req.root_attributes = _ATTR.findall(rm.group(2).decode("utf-8", "replace"))

    # A content whose command data is a raw element (the admin save) is
    # written as that element alone in place of a "content". The schema
    # cannot allow an arbitrary element beside "content", so such elements
    # are set aside before validation and read as admin saves.
    raw = [el for el in req.root if isinstance(el.tag, str) and el.tag not in ENVELOPE_CHILDREN]
    checked = req.doc
    if raw:
        checked = etree.fromstring(etree.tostring(req.root)).getroottree()
        for el in list(checked.getroot()):
            if isinstance(el.tag, str) and el.tag not in ENVELOPE_CHILDREN:
                checked.getroot().remove(el)
    req.schema_errors = validator.errors(checked)
    if raw:
        # The raw elements stand for the contents the schema asks for.
        req.schema_errors = [e for e in req.schema_errors if "Expected is ( content )" not in e]
    _check_shape(req)
    _read_envelope(req)
    for el in raw:
        req.contents.append(_read_raw_content(el))
    return req


ENVELOPE_CHILDREN = {"device", "application", "messageTimestamp", "content"}


def _read_raw_content(el):
    pc = ParsedContent(element=el)
    pc.command_type = APPLICATION_IDENTIFIER + ".adminsaverequest"
    pc.xsi_type = "raw"
    pc.has_command_data = True
    pc.data_element = el
    pc.command = COMMANDS_BY_TYPE.get(pc.command_type)
    return pc


def _check_shape(req):
    """What the schema cannot say about the envelope's form."""
    errs = req.shape_errors
    if req.declaration.get("version") != "1.0":
        errs.append("XML declaration: version is not \"1.0\"")
    if (req.declaration.get("encoding") or "").upper() != "UTF-8":
        errs.append("XML declaration: encoding is not \"UTF-8\"")
    if req.declaration.get("standalone") != "yes":
        errs.append("XML declaration: standalone is not \"yes\"")
    root = req.root
    if root.prefix != "ns2":
        errs.append(f"root element is written as \"{qualified_name(root)}\", expected \"ns2:vorkMessage\"")
    if root.nsmap.get("xsi") != XSI_NAMESPACE:
        errs.append("root does not bind the prefix \"xsi\" to the XML Schema instance namespace")
    loc = root.get(f"{{{XSI_NAMESPACE}}}schemaLocation")
    if loc != SCHEMA_LOCATION:
        errs.append(f"xsi:schemaLocation is {loc!r}, expected {SCHEMA_LOCATION!r}")
    if req.root_attributes != ROOT_ATTRIBUTE_ORDER:
        errs.append(f"root attributes are {req.root_attributes}, expected {ROOT_ATTRIBUTE_ORDER}")
    # Time stamps carry whole seconds in a millisecond field.
    stamps = [("messageTimestamp", root.findtext("messageTimestamp"))]
    stamps += [("status/timestamp", c.findtext("status/timestamp")) for c in root.findall("content")]
    for where, stamp in stamps:
        if stamp is not None and stamp.strip().lstrip("-").isdigit() and int(stamp) % 1000 != 0:
            errs.append(f"{where} {stamp} is not a whole number of seconds")
    for content in root.findall("content"):
        if content.get(f"{{{XSI_NAMESPACE}}}type") != "ns2:RequestContent":
            errs.append("a request content is not of xsi:type \"ns2:RequestContent\"")
        data = content.find("commandData")
        if data is None:
            continue
        for el in data.iter():
            if not isinstance(el.tag, str) or el is data:
                continue
            if etree.QName(el).namespace is not None and el.prefix != "ns2":
                errs.append(f"command-data field \"{qualified_name(el)}\" does not use the prefix \"ns2\"")


def _text(el, name):
    child = el.find(name) if el is not None else None
    return (child.text or "") if child is not None else None


def _read_envelope(req):
    root = req.root
    device = root.find("device")
    if device is not None:
        req.device = {
            "uuid": _text(device, "uuid") or "",
            "macAddresses": [{"bsdName": m.get("bsdName", ""), "address": m.text or ""}
                             for m in device.findall("macAddresses/macAddress")],
        }
    req.application = _text(root, "application") or ""
    req.message_timestamp = _text(root, "messageTimestamp") or ""
    for el in root.findall("content"):
        req.contents.append(_read_content(el))


def _read_content(el):
    pc = ParsedContent(element=el)
    pc.uuid = _text(el, "uuid") or ""
    pc.xsi_type = el.get(f"{{{XSI_NAMESPACE}}}type") or ""
    pc.command_type = _text(el, "commandType") or ""
    status = el.find("status")
    if status is not None:
        pc.status = {qualified_name(c): (c.text or "") for c in status if isinstance(c.tag, str)}
    data = el.find("commandData")
    pc.has_command_data = data is not None
    if data is not None:
        kids = [c for c in data if isinstance(c.tag, str)]
        pc.data_element = kids[0] if kids else None
    pc.command = COMMANDS_BY_TYPE.get(pc.command_type)
    _check_content(pc)
    return pc


def _check_content(pc):
    """Whether the command data is the one its command type asks for."""
    errs = pc.content_errors
    cmd = pc.command
    if cmd is None:
        errs.append(f"unknown command type {pc.command_type!r}")
        return
    if cmd.element is None:
        return
    data = pc.data_element
    if data is None:
        errs.append(f"{cmd.request_type} carries no command data element \"{cmd.element}\"")
        return
    if etree.QName(data).namespace is not None or etree.QName(data).localname != cmd.element:
        errs.append(f"command data is \"{qualified_name(data)}\", expected \"{cmd.element}\"")
        return
    got = [c for c in data if isinstance(c.tag, str)]
    names = [etree.QName(c).localname for c in got]
    expected = [f.name for f in cmd.fields]
    position = 0
    for name, child in zip(names, got):
        if name not in expected[position:]:
            errs.append(f"field \"{name}\" is unexpected or out of order in \"{cmd.element}\" "
                        f"(expected order: {', '.join(expected)})")
            return
        position = expected.index(name, position) + 1
        pc.values[name] = child.text or ""
    for f in cmd.fields:
        if f.required and f.name not in pc.values:
            errs.append(f"\"{cmd.element}\" lacks the field \"{f.name}\"")


# ---------------------------------------------------------------------------
# Writing replies


def q(name):
    return f"{{{MESSAGE_NAMESPACE}}}{name}"


class Mapped:
    """A reply class: its element name and its fields in wire order.

    Field kinds: text, int, flag, data (Base64), object (nested Mapped),
    array (items of a Mapped), strings (plain texts under one tag).
    """

    def __init__(self, alias, fields):
        self.alias = alias
        self.fields = fields

    def write(self, parent, values):
        el = etree.SubElement(parent, self.alias)
        self.write_fields(el, values)
        return el

    def write_fields(self, el, values):
        for entry in self.fields:
            name, kind = entry[0], entry[1]
            value = values.get(name)
            if value is None and kind not in ("int", "flag"):
                continue
            child = etree.SubElement(el, q(name))
            if kind == "text":
                child.text = str(value)
            elif kind == "int":
                child.text = str(int(value or 0))
            elif kind == "flag":
                child.text = "1" if value else "0"
            elif kind == "data":
                raw = value.encode("utf-8") if isinstance(value, str) else bytes(value)
                child.text = base64.b64encode(raw).decode("ascii")
            elif kind == "object":
                entry[2].write_fields(child, value)
            elif kind == "array":
                for item in value:
                    item_el = etree.SubElement(child, q(entry[2].alias))
                    entry[2].write_fields(item_el, item)
            elif kind == "strings":
                for item in value:
                    etree.SubElement(child, q(entry[2])).text = str(item)
            else:
                raise ValueError(f"unknown field kind {kind}")


def status_element(parent, code, skew_seconds=0, extended=None):
    st = etree.SubElement(parent, "status")
    etree.SubElement(st, "code").text = str(code)
    etree.SubElement(st, "timestamp").text = str(now_millis(skew_seconds))
    title, message = STATUS_TEXTS.get(code, ("", ""))
    etree.SubElement(st, "title").text = title
    etree.SubElement(st, "message").text = message
    if extended:
        etree.SubElement(st, "extendedMessage").text = extended
    return st


@dataclass
class ReplyContent:
    """One content of a reply: status and a command-data writer (or none)."""
    code: int = SUCCESS
    extended: str | None = None
    mapped: Mapped | None = None
    values: dict | None = None
    request_uuid: str = ""
    response_type: str = ERROR_RESPONSE_TYPE


_UUID = re.compile(r"^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$")


def build_reply(device, application, contents, skew_seconds=0):
    """A reply envelope (bytes) with one content per ReplyContent."""
    nsmap = {"ns2": MESSAGE_NAMESPACE, "xsi": XSI_NAMESPACE}
    root = etree.Element(q("vorkMessage"), nsmap=nsmap)
    root.set(f"{{{XSI_NAMESPACE}}}schemaLocation", SCHEMA_LOCATION)
    dev = etree.SubElement(root, "device")
    etree.SubElement(dev, "uuid").text = device.get("uuid", "")
    macs = etree.SubElement(dev, "macAddresses")
    for m in device.get("macAddresses", []):
        el = etree.SubElement(macs, "macAddress")
        el.set("bsdName", m.get("bsdName", ""))
        el.text = m.get("address", "")
    etree.SubElement(root, "application").text = application or APPLICATION_IDENTIFIER
    etree.SubElement(root, "messageTimestamp").text = str(now_millis(skew_seconds))
    for rc in contents:
        content = etree.SubElement(root, "content")
        content.set(f"{{{XSI_NAMESPACE}}}type", "ns2:ResponseContent")
        rid = rc.request_uuid if _UUID.match(rc.request_uuid or "") else str(uuidlib.uuid4()).upper()
        etree.SubElement(content, "uuid").text = rid
        etree.SubElement(content, "commandType").text = rc.response_type
        status_element(content, rc.code, skew_seconds, rc.extended)
        if rc.mapped is not None:
            data = etree.SubElement(content, "commandData")
            rc.mapped.write(data, rc.values or {})
    return serialize(root)


def serialize(root):
    return (b'<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
            + etree.tostring(root, encoding="UTF-8", xml_declaration=False))
