"""Tests of the reference management server (tools/refserver).

The schema and envelope checks run in-process; everything else talks HTTP to
a real server process on 127.0.0.1 in a temporary folder.
"""

import base64
import hashlib
import http.client
import json
import os
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
SERVER_DIR = ROOT / "tools" / "refserver"
SERVER = SERVER_DIR / "refserver.py"
sys.path.insert(0, str(SERVER_DIR))

from lxml import etree  # noqa: E402

import vorkproto  # noqa: E402
import vorkreplies  # noqa: E402

NS = "http://vork.io/VORKMessage"
XSI = "http://www.w3.org/2001/XMLSchema-instance"
APP = "io.vork.agent"
USER = "agent"
PASSWORD = "pa:ss w<o>rd"
FIXTURE = vorkreplies.load_fixture()

DECLARATION = '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
ROOT_OPEN = ('<ns2:vorkMessage xmlns:ns2="http://vork.io/VORKMessage" '
             'xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" '
             'xsi:schemaLocation="http://vork.io/VORKMessage '
             '../src/main/resources/schema/VORKCommunicationSchema.xsd">')
DEVICE = ('<device><uuid>564D1A2B-3C4D-5E6F-7A8B-9C0D1E2F3A4B</uuid><macAddresses>'
          '<macAddress bsdName="en0">a4:83:e7:01:02:03</macAddress>'
          '<macAddress bsdName="en1">a4:83:e7:01:02:04</macAddress></macAddresses></device>')
CONTENT_UUID = "0F8FAD5B-D9CB-469F-A165-70867728950E"

# A well-formed request body for every command type, as the agent writes them.
REQUEST_DATA = {
    ".keepaliverequest": "<keepAlive><ns2:invalidate>1</ns2:invalidate></keepAlive>",
    ".computerinventorycollectionpreferencerequest":
        "<computerInventoryCollectionPreference><ns2:platform>mac</ns2:platform>"
        "</computerInventoryCollectionPreference>",
    ".clientsiteprivilegesrequest":
        "<clientSitePrivileges><ns2:clientAppName>Self Service</ns2:clientAppName></clientSitePrivileges>",
    ".clientsiteselectionrequest": "<clientSiteSelection><ns2:siteID>2</ns2:siteID></clientSiteSelection>",
    ".credentialsrequest":
        "<credentials><ns2:credentialType>distributionPoint</ns2:credentialType>"
        "<ns2:objectID>0</ns2:objectID></credentials>",
    ".adminsaverequest":
        "<adminSave><modifiedPackages><package><id>1</id></package><package><id>2</id></package>"
        "</modifiedPackages><modifiedScripts><script><id>5</id></script></modifiedScripts>"
        "<deletedObjects><object><id>9</id></object></deletedObjects></adminSave>",
    ".adminaddobjectrequest": "<adminAddObject><ns2:platform>mac</ns2:platform></adminAddObject>",
    ".getprinterinforequest": "<getPrinterInfo><ns2:printerId>7</ns2:printerId></getPrinterInfo>",
    ".storeppdrequest": "<storePPDRequest><ns2:platform>mac</ns2:platform></storePPDRequest>",
    ".retrievescriptdatarequest":
        "<retrieveScriptData><ns2:scriptID>12</ns2:scriptID></retrieveScriptData>",
    ".packageindexrequest": "<packageIndex><ns2:platform>mac</ns2:platform></packageIndex>",
}


def content(suffix, data=None, *, uuid=CONTENT_UUID, xsi_type="ns2:RequestContent", command_type=None):
    data = REQUEST_DATA[suffix] if data is None else data
    attr = f' xsi:type="{xsi_type}"' if xsi_type else ""
    data_xml = f"<commandData>{data}</commandData>" if data is not False else ""
    return (f"<content{attr}><uuid>{uuid}</uuid>"
            f"<commandType>{command_type or APP + suffix}</commandType>"
            f"<status><code>0</code><timestamp>1700000000000</timestamp></status>"
            f"{data_xml}</content>")


def envelope(*contents, declaration=DECLARATION, root_open=ROOT_OPEN, root_close="</ns2:vorkMessage>",
             device=DEVICE, application=APP, timestamp="1700000000000"):
    body = (f"{declaration}{root_open}{device}<application>{application}</application>"
            f"<messageTimestamp>{timestamp}</messageTimestamp>{''.join(contents)}{root_close}")
    return body.encode("utf-8")


def request(suffix, data=None):
    return envelope(content(suffix, data))


def n(name):
    return f"{{{NS}}}{name}"


class Reply:
    """A parsed reply envelope."""

    def __init__(self, body):
        self.body = body
        self.root = etree.fromstring(body)
        self.contents = self.root.findall("content")

    @property
    def code(self):
        return int(self.contents[0].findtext("status/code"))

    def codes(self):
        return [int(c.findtext("status/code")) for c in self.contents]

    def status(self, index=0):
        st = self.contents[index].find("status")
        return {c.tag: c.text or "" for c in st}

    def data(self, index=0):
        kids = list(self.contents[index].find("commandData"))
        return kids[0]


def fields_of(el):
    return [etree.QName(c).localname for c in el]


def text(el, *path):
    for name in path:
        el = el.find(n(name))
    return el.text or ""


# ---------------------------------------------------------------------------


class SchemaTests(unittest.TestCase):
    """The shipped schema and the shape checks, without a server."""

    @classmethod
    def setUpClass(cls):
        cls.validator = vorkproto.Validator()

    def parse(self, body):
        return vorkproto.parse_request(body, self.validator)

    def test_accepts_a_well_formed_request_for_each_command_type(self):
        self.assertEqual(len(REQUEST_DATA), len(vorkproto.COMMANDS))
        for suffix in REQUEST_DATA:
            with self.subTest(suffix):
                parsed = self.parse(request(suffix))
                self.assertTrue(parsed.valid, parsed.invalid_reasons())
                self.assertEqual(parsed.contents[0].content_errors, [])
                self.assertEqual(parsed.contents[0].command.request_type, APP + suffix)

    def test_accepts_admin_save_without_command_data_and_text_fields_left_unset(self):
        for body in (request(".adminsaverequest", False),
                     request(".clientsiteprivilegesrequest", "<clientSitePrivileges/>"),
                     request(".credentialsrequest", "<credentials><ns2:objectID>0</ns2:objectID></credentials>")):
            parsed = self.parse(body)
            self.assertTrue(parsed.valid, parsed.invalid_reasons())

    def test_accepts_an_empty_device_record_and_several_contents(self):
        body = envelope(content(".keepaliverequest"), content(".packageindexrequest"),
                        device="<device><uuid></uuid><macAddresses/></device>")
        parsed = self.parse(body)
        self.assertTrue(parsed.valid, parsed.invalid_reasons())
        self.assertEqual(len(parsed.contents), 2)

    def test_rejects_malformed_requests(self):
        keep = content(".keepaliverequest")
        other_prefix = ROOT_OPEN.replace("ns2:vorkMessage", "m:vorkMessage").replace(
            'xmlns:ns2="http://vork.io/VORKMessage"',
            'xmlns:m="http://vork.io/VORKMessage" xmlns:ns2="http://vork.io/VORKMessage"')
        attributes_reordered = ('<ns2:vorkMessage xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" '
                                'xmlns:ns2="http://vork.io/VORKMessage" xsi:schemaLocation="http://vork.io/VORKMessage '
                                '../src/main/resources/schema/VORKCommunicationSchema.xsd">')
        flag = "<keepAlive><ns2:invalidate>{}</ns2:invalidate></keepAlive>"
        cases = [
            (b"<ns2:vorkMessage", "not well-formed"),
            (b"", "not well-formed"),
            (request(".keepaliverequest").replace(b'http://vork.io/VORKMessage"', b'http://example.invalid/M"'),
             "vorkMessage"),
            (envelope(content(".keepaliverequest", xsi_type=None)), "abstract"),
            (envelope(content(".keepaliverequest", xsi_type="ns2:ResponseContent")), "ns2:RequestContent"),
            (envelope(content(".keepaliverequest", command_type=APP + ".keepalive")), "commandType"),
            (envelope(content(".keepaliverequest", command_type="com.other.keepaliverequest")), "commandType"),
            (request(".keepaliverequest", "<keepAlive><invalidate>1</invalidate></keepAlive>"), "invalidate"),
            (request(".keepaliverequest", '<keepAlive xmlns:v="http://vork.io/VORKMessage">'
                                          '<v:invalidate>1</v:invalidate></keepAlive>'), 'prefix "ns2"'),
            *[(request(".keepaliverequest", flag.format(spelling)), "invalidate")
              for spelling in ("true", "YES", "", "2")],
            ((DECLARATION + ROOT_OPEN + f"<application>{APP}</application>" + DEVICE
              + "<messageTimestamp>1</messageTimestamp>" + keep + "</ns2:vorkMessage>").encode(), "application"),
            (request(".keepaliverequest").replace(b"<application>", b"<ns2:application>").replace(
                b"</application>", b"</ns2:application>"), "application"),
            (envelope(keep, timestamp="2014-03-05"), "messageTimestamp"),
            (envelope(keep, timestamp="1700000000750"),
             "messageTimestamp 1700000000750 is not a whole number of seconds"),
            (request(".keepaliverequest").replace(b"<timestamp>1700000000000<", b"<timestamp>1700000000001<"),
             "status/timestamp"),
            (envelope(content(".keepaliverequest", uuid=CONTENT_UUID.lower())), "uuid"),
            (envelope(), "content"),
            (envelope(keep, root_open=ROOT_OPEN.replace("../src/main/resources/", "")), "schemaLocation"),
            (envelope(keep, root_open=other_prefix, root_close="</m:vorkMessage>"), "m:vorkMessage"),
            (envelope(keep, declaration='<?xml version="1.0" encoding="UTF-8"?>'), "standalone"),
            (envelope(keep, root_open=attributes_reordered), "root attributes"),
        ]
        for row, (body, fragment) in enumerate(cases):
            with self.subTest(row=row, fragment=fragment):
                parsed = self.parse(body)
                self.assertFalse(parsed.valid)
                self.assertIn(fragment, " | ".join(parsed.invalid_reasons()))
        # Negative time stamps in whole seconds are fine.
        self.assertTrue(self.parse(envelope(keep, timestamp="-1000")).valid)

    def test_flags_command_data_that_does_not_match_the_command_type(self):
        parsed = self.parse(request(".clientsiteselectionrequest", REQUEST_DATA[".keepaliverequest"]))
        self.assertTrue(parsed.valid)
        self.assertIn("expected \"clientSiteSelection\"", parsed.contents[0].content_errors[0])

    def test_flags_a_missing_required_field_and_fields_out_of_order(self):
        parsed = self.parse(request(".credentialsrequest",
                                    "<credentials><ns2:credentialType>x</ns2:credentialType></credentials>"))
        self.assertFalse(parsed.valid)  # the schema already wants objectID
        missing = self.parse(request(".getprinterinforequest", False))
        self.assertIn("carries no command data", missing.contents[0].content_errors[0])

    def test_every_reply_validates_against_the_schema(self):
        replies = vorkreplies.Replies(FIXTURE, None)
        for suffix in REQUEST_DATA:
            for broken in (False, True):
                with self.subTest(suffix=suffix, arrayWithoutClass=broken):
                    parsed = self.parse(request(suffix))
                    rc = replies.answer(parsed.contents[0], broken)
                    body = vorkproto.build_reply(parsed.device, parsed.application, [rc])
                    self.assertEqual(self.validator.errors(etree.fromstring(body).getroottree()), [])


# ---------------------------------------------------------------------------


class ServerProcess:
    """One refserver process in its own temporary folder."""

    def __init__(self, *extra, tls=False, user=USER, password=PASSWORD):
        self.dir = Path(tempfile.mkdtemp(prefix="refserver-test-"))
        self.files = self.dir / "files"
        self.files.mkdir()
        self.uploads = self.dir / "uploads"
        self.port_file = self.dir / "port"
        self.user, self.password = user, password
        args = [sys.executable, str(SERVER), "--port", "0", "--port-file", str(self.port_file),
                "--files", str(self.files), "--uploads", str(self.uploads)]
        if user:
            pw = self.dir / "password"
            pw.write_text(password + "\n", encoding="utf-8")
            args += ["--user", user, "--password-file", str(pw)]
        self.cert = None
        if tls:
            args += ["--self-signed", str(self.dir / "tls")]
            self.cert = self.dir / "tls" / "cert.pem"
        args += list(extra)
        self.stderr = open(self.dir / "stderr.txt", "wb")
        self.proc = subprocess.Popen(args, stdout=subprocess.PIPE, stderr=self.stderr)
        self.listening_line = self.proc.stdout.readline().decode().strip()
        deadline = time.monotonic() + 30
        while not self.port_file.exists():
            if self.proc.poll() is not None or time.monotonic() > deadline:
                self.stop()
                raise RuntimeError("refserver did not start: " + self.read_stderr())
            time.sleep(0.05)
        self.port = int(self.port_file.read_text().strip())

    def read_stderr(self):
        self.stderr.flush()
        return (self.dir / "stderr.txt").read_text(errors="replace")

    def connection(self, timeout=30):
        if self.cert:
            ctx = ssl.create_default_context(cafile=str(self.cert))
            return http.client.HTTPSConnection("127.0.0.1", self.port, timeout=timeout, context=ctx)
        return http.client.HTTPConnection("127.0.0.1", self.port, timeout=timeout)

    def auth(self, user=None, password=None):
        token = f"{user or self.user}:{self.password if password is None else password}"
        return {"Authorization": "Basic " + base64.b64encode(token.encode()).decode()}

    def call(self, method, path, body=None, headers=None, auth=True, conn=None):
        own = conn is None
        conn = conn or self.connection()
        hdrs = dict(self.auth() if auth and self.user else {})
        hdrs.update(headers or {})
        try:
            conn.request(method, path, body=body, headers=hdrs)
            resp = conn.getresponse()
            return resp.status, dict(resp.getheaders()), resp.read()
        finally:
            if own:
                conn.close()

    def post(self, body, headers=None, **kw):
        hdrs = {"Content-Type": "application/xml; charset=utf-8"}
        hdrs.update(headers or {})
        return self.call("POST", "/client", body, hdrs, **kw)

    def control(self, faults):
        status, _, body = self.call("POST", "/__control", json.dumps(faults).encode(), auth=False)
        return status, json.loads(body)

    def records(self):
        return json.loads(self.call("GET", "/__requests", auth=False)[2])

    def reset(self):
        self.call("DELETE", "/__control", auth=False)
        self.call("DELETE", "/__requests", auth=False)

    def stop(self):
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(10)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()
        self.proc.stdout.close()
        self.stderr.close()
        shutil.rmtree(self.dir, ignore_errors=True)


class ServerTestCase(unittest.TestCase):
    server_args = ()
    tls = False

    @classmethod
    def setUpClass(cls):
        cls.server = ServerProcess(*cls.server_args, tls=cls.tls)

    @classmethod
    def tearDownClass(cls):
        cls.server.stop()

    def setUp(self):
        self.server.reset()

    def post(self, body, **kw):
        return self.server.post(body, **kw)

    def ask(self, suffix, data=None):
        status, _, body = self.post(request(suffix, data))
        self.assertEqual(status, 200)
        return Reply(body)


class StartupTests(ServerTestCase):

    def test_reports_its_port_on_127_0_0_1(self):
        self.assertEqual(self.server.listening_line, f"listening on http://127.0.0.1:{self.server.port}")

    def test_listens_on_the_loopback_address_only(self):
        wanted = f"0100007F:{self.server.port:04X}"
        with open("/proc/net/tcp") as f:
            listeners = [line.split()[1] for line in f.readlines()[1:] if line.split()[3] == "0A"]
        self.assertIn(wanted, listeners)
        self.assertFalse([a for a in listeners if a.endswith(f":{self.server.port:04X}") and a != wanted])

    def test_keeps_the_connection_open_between_requests(self):
        conn = self.server.connection()
        try:
            self.server.post(request(".keepaliverequest"), conn=conn)
            first = conn.sock
            status, headers, _ = self.server.post(request(".keepaliverequest"), conn=conn)
            self.assertEqual(status, 200)
            self.assertIs(conn.sock, first)
            self.assertNotEqual(headers.get("Connection", "").lower(), "close")
        finally:
            conn.close()

    def test_answers_unknown_paths_with_404(self):
        self.assertEqual(self.server.call("GET", "/nothing")[0], 404)
        self.assertEqual(self.server.call("POST", "/clients", b"x")[0], 404)


class ReplyTests(ServerTestCase):
    """Each command's answer as the library reads it back."""

    def test_every_command_type_is_answered_with_success_and_its_response_type(self):
        for suffix in REQUEST_DATA:
            with self.subTest(suffix):
                reply = self.ask(suffix)
                self.assertEqual(reply.code, 0)
                st = reply.status()
                self.assertEqual(st["title"], "Success")
                self.assertEqual(st["message"], "The action was completed successfully.")
                c = reply.contents[0]
                self.assertEqual(c.get(f"{{{XSI}}}type"), "ns2:ResponseContent")
                self.assertEqual(c.findtext("uuid"), CONTENT_UUID)
                self.assertEqual(c.findtext("commandType"), APP + suffix.replace("request", "response"))

    def test_reply_echoes_the_device_and_is_a_proper_envelope(self):
        reply = self.ask(".keepaliverequest")
        self.assertTrue(reply.body.startswith(DECLARATION.encode()))
        self.assertEqual(reply.root.tag, n("vorkMessage"))
        self.assertEqual(reply.root.prefix, "ns2")
        self.assertEqual([c.tag for c in reply.root], ["device", "application", "messageTimestamp", "content"])
        self.assertEqual(reply.root.findtext("device/uuid"), "564D1A2B-3C4D-5E6F-7A8B-9C0D1E2F3A4B")
        self.assertEqual([m.get("bsdName") for m in reply.root.findall("device/macAddresses/macAddress")],
                         ["en0", "en1"])
        self.assertEqual(reply.root.findtext("application"), APP)
        self.assertLess(abs(int(reply.root.findtext("messageTimestamp")) / 1000 - time.time()), 120)

    def test_keep_alive_echoes_the_invalidate_flag(self):
        data = self.ask(".keepaliverequest").data()
        self.assertEqual(data.tag, "keepAlive")
        self.assertEqual(fields_of(data), ["invalidate", "checkInFrequency"])
        self.assertEqual(text(data, "invalidate"), "1")
        self.assertEqual(int(text(data, "checkInFrequency")), FIXTURE["keepAlive"]["checkInFrequency"])
        off = self.ask(".keepaliverequest", "<keepAlive><ns2:invalidate>0</ns2:invalidate></keepAlive>")
        self.assertEqual(text(off.data(), "invalidate"), "0")

    def test_inventory_preferences_carry_choices_and_categories_in_field_order(self):
        data = self.ask(".computerinventorycollectionpreferencerequest").data()
        self.assertEqual(fields_of(data), ["platform", "inventoryChoices", "osInstallCategories"])
        choices = data.find(n("inventoryChoices"))
        expected = FIXTURE["inventory"]["inventoryChoices"]
        self.assertEqual(len(choices), len(expected))
        first = choices[0]
        self.assertEqual(first.tag, n("config"))
        self.assertEqual(fields_of(first), ["label", "description", "value", "visible", "enabled"])
        self.assertEqual(text(first, "label"), expected[0]["label"])
        self.assertEqual([text(c, "value") for c in choices], ["1" if e["value"] else "0" for e in expected])
        category = data.find(n("osInstallCategories"))[0]
        self.assertEqual(fields_of(category), ["description", "enabled", "visible", "value", "osInstallItem"])
        self.assertEqual(fields_of(category.find(n("osInstallItem"))),
                         ["label", "description", "enabled", "visible", "value"])

    def test_site_privileges_list_the_sites_without_privilege_lists(self):
        data = self.ask(".clientsiteprivilegesrequest").data()
        sites = data.find(n("sites"))
        self.assertEqual([text(s, "id") for s in sites], [str(s["id"]) for s in FIXTURE["sites"]])
        self.assertEqual([text(s, "name") for s in sites], [s["name"] for s in FIXTURE["sites"]])
        self.assertEqual(fields_of(sites[0]), ["id", "name", "currentUserSite"])
        self.assertEqual(text(sites[0], "currentUserSite"), "1")

    def test_site_privileges_without_an_application_name_is_refused(self):
        self.assertEqual(self.ask(".clientsiteprivilegesrequest", "<clientSitePrivileges/>").code, 1301)

    def test_site_selection_names_the_site_or_refuses_an_unknown_one(self):
        data = self.ask(".clientsiteselectionrequest").data()
        self.assertEqual(text(data, "siteID"), "2")
        self.assertEqual(text(data, "name"), FIXTURE["sites"][1]["name"])
        refused = self.ask(".clientsiteselectionrequest",
                           "<clientSiteSelection><ns2:siteID>99</ns2:siteID></clientSiteSelection>")
        self.assertEqual(refused.code, 1410)
        self.assertEqual(refused.status()["title"], "Permission Error")

    def test_credentials_of_a_type_in_document_order(self):
        data = self.ask(".credentialsrequest").data()
        creds = data.find(n("credentials"))
        expected = FIXTURE["credentials"]["distributionPoint"]
        self.assertEqual([fields_of(c) for c in creds], [["objectID", "username", "password"]] * len(expected))
        self.assertEqual([text(c, "username") for c in creds], [e["username"] for e in expected])
        self.assertEqual(text(creds[0], "password"), expected[0]["password"])
        unknown = self.ask(".credentialsrequest",
                           "<credentials><ns2:credentialType>none</ns2:credentialType>"
                           "<ns2:objectID>0</ns2:objectID></credentials>")
        self.assertEqual(unknown.code, 0)
        self.assertEqual(len(unknown.data().find(n("credentials"))), 0)
        self.assertEqual(self.ask(".credentialsrequest",
                                  "<credentials><ns2:objectID>0</ns2:objectID></credentials>").code, 1301)

    def test_admin_save_counts_saved_and_deleted_objects(self):
        data = self.ask(".adminsaverequest").data()
        self.assertEqual(text(data, "savedObjectQty"), "3")
        self.assertEqual(text(data, "deletedObjectQty"), "1")
        self.assertEqual(self.ask(".adminsaverequest", False).code, 1301)

    def test_admin_save_as_a_raw_element_in_place_of_a_content(self):
        # The agent writes the caller's save element alone, where a content
        # would stand, with no uuid, command type or status.
        raw = ("<saveData><modifiedScripts><script/><script/></modifiedScripts>"
               "<deletedObjects><object/></deletedObjects></saveData>")
        status, _, body = self.post(envelope(raw))
        self.assertEqual(status, 200)
        reply = Reply(body)
        self.assertEqual(reply.code, 0)
        self.assertEqual(text(reply.data(), "savedObjectQty"), "2")
        self.assertEqual(text(reply.data(), "deletedObjectQty"), "1")

    def test_add_object_offers_parameters_and_payloads(self):
        data = self.ask(".adminaddobjectrequest").data()
        params = data.find(n("parameters"))
        self.assertEqual(fields_of(params[0]), ["id", "name", "ip", "share", "type", "zone", "domain",
                                                "username", "password", "enableLoadBalancing", "master",
                                                "backupID"])
        self.assertEqual(len(params), len(FIXTURE["adminAddObject"]["parameters"]))
        payloads = data.find(n("payloads"))
        self.assertEqual([text(p, "code") for p in payloads],
                         [p["code"] for p in FIXTURE["adminAddObject"]["payloads"]])

    def test_printer_info_carries_the_ppd_as_base64(self):
        data = self.ask(".getprinterinforequest").data()
        printer = data.find(n("printer"))
        self.assertEqual(text(printer, "id"), "7")
        ppd = base64.b64decode(text(printer, "ppdContents")).decode()
        self.assertEqual(ppd, FIXTURE["printers"][0]["ppdContents"])
        self.assertTrue(ppd.startswith("*PPD-Adobe"))
        self.assertEqual(self.ask(".getprinterinforequest",
                                  "<getPrinterInfo><ns2:printerId>404</ns2:printerId></getPrinterInfo>").code,
                         1301)

    def test_store_ppd_is_accepted(self):
        data = self.ask(".storeppdrequest").data()
        self.assertEqual(data.tag, "storePPD")
        self.assertEqual(text(data, "accepted"), "1")

    def test_script_data_carries_contents_and_their_digests(self):
        script = self.ask(".retrievescriptdatarequest").data().find(n("script"))
        raw = base64.b64decode(text(script, "scriptContents"))
        self.assertEqual(raw.decode(), FIXTURE["scripts"][0]["scriptContents"])
        self.assertEqual(text(script, "md5"), hashlib.md5(raw).hexdigest())
        self.assertEqual(text(script, "sha512"), hashlib.sha512(raw).hexdigest())
        self.assertEqual([p.text for p in script.find(n("parameters"))], FIXTURE["scripts"][0]["parameters"])
        self.assertEqual(self.ask(".retrievescriptdatarequest",
                                  "<retrieveScriptData><ns2:scriptID>-1</ns2:scriptID></retrieveScriptData>").code,
                         1301)

    def test_package_index_lists_served_files_with_digests(self):
        payload = os.urandom(5000)
        (self.server.files / "VORKAgent.pkg").write_bytes(payload)
        (self.server.files / "extra.zip").write_bytes(b"zip")
        try:
            pkgs = self.ask(".packageindexrequest").data().find(n("packages"))
            by_name = {text(p, "filename"): p for p in pkgs}
            self.assertEqual(sorted(by_name), ["VORKAgent.pkg", "extra.zip"])
            agent = by_name["VORKAgent.pkg"]
            self.assertEqual(text(agent, "id"), "21")
            self.assertEqual(text(agent, "size"), "5000")
            self.assertEqual(text(agent, "md5"), hashlib.md5(payload).hexdigest())
            self.assertEqual(text(agent, "sha512"), hashlib.sha512(payload).hexdigest())
            self.assertEqual(text(agent, "url"), "/files/VORKAgent.pkg")
        finally:
            for name in ("VORKAgent.pkg", "extra.zip"):
                (self.server.files / name).unlink()

    def test_several_contents_are_answered_in_order(self):
        body = envelope(content(".keepaliverequest"),
                        content(".clientsiteselectionrequest",
                                "<clientSiteSelection><ns2:siteID>99</ns2:siteID></clientSiteSelection>"))
        reply = Reply(self.post(body)[2])
        self.assertEqual(reply.codes(), [0, 1410])


class RefusalTests(ServerTestCase):
    """Malformed requests and what is recorded about them."""

    def test_invalid_request_is_answered_1302_and_the_error_recorded(self):
        body = request(".keepaliverequest", "<keepAlive><ns2:invalidate>true</ns2:invalidate></keepAlive>")
        status, headers, raw = self.post(body)
        self.assertEqual(status, 200)
        self.assertTrue(headers["Content-Type"].startswith("application/xml"))
        reply = Reply(raw)
        self.assertEqual(reply.code, 1302)
        self.assertEqual(reply.status()["title"], "Invalid Message")
        self.assertIn("invalidate", reply.status()["extendedMessage"])
        self.assertEqual(reply.contents[0].findtext("uuid"), CONTENT_UUID)
        rec = self.server.records()[-1]
        self.assertFalse(rec["valid"])
        self.assertTrue(any("invalidate" in e for e in rec["validationErrors"]))
        self.assertEqual(vorkproto.Validator().errors(reply.root.getroottree()), [])

    def test_unparseable_body_gets_an_error_envelope(self):
        status, _, raw = self.post(b"this is not xml")
        reply = Reply(raw)
        self.assertEqual(reply.code, 1302)
        self.assertEqual(reply.contents[0].findtext("commandType"), APP + ".errorresponse")
        self.assertIn("not well-formed", self.server.records()[-1]["validationErrors"][0])

    def test_command_data_of_another_command_is_answered_1301(self):
        reply = self.ask(".getprinterinforequest", REQUEST_DATA[".keepaliverequest"])
        self.assertEqual(reply.code, 1301)
        self.assertEqual(reply.status()["title"], "Invalid Message Content")
        self.assertTrue(self.server.records()[-1]["contentErrors"])


class RecordTests(ServerTestCase):

    def test_records_the_command_and_its_fields_in_order(self):
        self.ask(".credentialsrequest")
        rec = self.server.records()[-1]
        self.assertEqual(rec["path"], "/client")
        self.assertEqual(rec["method"], "POST")
        self.assertTrue(rec["valid"])
        self.assertEqual(rec["commandType"], APP + ".credentialsrequest")
        self.assertEqual(rec["commandData"], "credentials")
        self.assertEqual([f["name"] for f in rec["fields"]], ["ns2:credentialType", "ns2:objectID"])
        self.assertEqual([f["text"] for f in rec["fields"]], ["distributionPoint", "0"])
        self.assertEqual(rec["contents"][0]["xsiType"], "ns2:RequestContent")
        self.assertEqual(rec["contents"][0]["status"], {"code": "0", "timestamp": "1700000000000"})
        self.assertEqual(rec["envelope"]["children"], ["device", "application", "messageTimestamp", "content"])
        self.assertEqual(rec["envelope"]["xmlDeclaration"], {"version": "1.0", "encoding": "UTF-8",
                                                             "standalone": "yes"})
        self.assertEqual(rec["envelope"]["device"]["macAddresses"][0],
                         {"bsdName": "en0", "address": "a4:83:e7:01:02:03"})
        self.assertEqual(rec["replyCodes"], [0])
        self.assertEqual(rec["httpStatus"], 200)

    def test_records_nested_command_data_of_a_save(self):
        self.ask(".adminsaverequest")
        fields = self.server.records()[-1]["fields"]
        self.assertEqual([f["name"] for f in fields], ["modifiedPackages", "modifiedScripts", "deletedObjects"])
        self.assertEqual(fields[0]["children"][1]["children"][0], {"name": "id", "text": "2"})

    def test_records_mask_the_password(self):
        self.ask(".keepaliverequest")
        raw = self.server.call("GET", "/__requests", auth=False)[2].decode()
        token = base64.b64encode(f"{USER}:{PASSWORD}".encode()).decode()
        self.assertNotIn(token, raw)
        self.assertNotIn(PASSWORD, raw)
        rec = json.loads(raw)[-1]
        self.assertIn(["Authorization", "Basic ********"], rec["headers"])
        self.assertEqual(rec["authUser"], USER)

    def test_delete_clears_the_records(self):
        self.ask(".keepaliverequest")
        self.assertEqual(len(self.server.records()), 1)
        status, _, body = self.server.call("DELETE", "/__requests", auth=False)
        self.assertEqual(json.loads(body), {"cleared": 1})
        self.assertEqual(self.server.records(), [])


class AuthTests(ServerTestCase):

    def test_missing_credentials_get_a_challenge(self):
        status, headers, raw = self.post(request(".keepaliverequest"), auth=False)
        self.assertEqual(status, 401)
        self.assertEqual(headers["WWW-Authenticate"], 'Basic realm="VORK"')
        self.assertEqual(Reply(raw).code, 1400)
        self.assertEqual(self.server.records()[-1]["authFailure"], "missing")

    def test_wrong_password_is_answered_with_status_1400(self):
        status, _, raw = self.server.post(request(".keepaliverequest"), auth=False,
                                          headers=self.server.auth(password="nope"))
        self.assertEqual(status, 200)
        reply = Reply(raw)
        self.assertEqual(reply.code, 1400)
        self.assertEqual(reply.status()["title"], "Authentication Error")
        self.assertEqual(reply.status()["message"], "An authentication error has occurred.")
        self.assertIsNone(reply.contents[0].find("commandData"))

    def test_wrong_user_and_other_schemes_are_refused(self):
        for hdrs in (self.server.auth(user="root"), {"Authorization": "Bearer abc"},
                     {"Authorization": "Basic !!!"}):
            with self.subTest(hdrs):
                _, _, raw = self.server.post(request(".keepaliverequest"), auth=False, headers=hdrs)
                self.assertEqual(Reply(raw).code, 1400)

    def test_files_and_uploads_need_credentials(self):
        (self.server.files / "a.bin").write_bytes(b"abc")
        self.assertEqual(self.server.call("GET", "/files/a.bin", auth=False)[0], 401)
        self.assertEqual(self.server.call("POST", "/upload/x.bin", b"abc", auth=False)[0], 401)
        self.assertEqual(self.server.call("GET", "/files/a.bin")[0], 200)


class FileTests(ServerTestCase):

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.payload = bytes(range(256)) * 400  # 102400 bytes
        (cls.server.files / "data.bin").write_bytes(cls.payload)
        (cls.server.files / "empty.bin").write_bytes(b"")

    def get(self, path, rng=None, method="GET"):
        return self.server.call(method, path, headers={"Range": rng} if rng else None)

    def test_whole_file(self):
        status, headers, body = self.get("/files/data.bin")
        self.assertEqual(status, 200)
        self.assertEqual(body, self.payload)
        self.assertEqual(headers["Accept-Ranges"], "bytes")
        self.assertEqual(headers["Content-Length"], str(len(self.payload)))

    def test_served_ranges(self):
        size = len(self.payload)
        for rng, first, last in (("bytes=100-199", 100, 199), ("bytes=102000-", 102000, size - 1),  # a resume
                                 ("bytes=-10", size - 10, size - 1), ("bytes=102300-999999", 102300, size - 1)):
            with self.subTest(rng):
                status, headers, body = self.get("/files/data.bin", rng)
                self.assertEqual(status, 206)
                self.assertEqual(headers["Content-Range"], f"bytes {first}-{last}/{size}")
                self.assertEqual(body, self.payload[first:last + 1])

    def test_range_beyond_the_file_is_416(self):
        for rng in ("bytes=102400-", "bytes=200000-300000", "bytes=-0"):
            with self.subTest(rng):
                status, headers, body = self.get("/files/data.bin", rng)
                self.assertEqual(status, 416)
                self.assertEqual(headers["Content-Range"], f"bytes */{len(self.payload)}")
                self.assertEqual(body, b"")
        self.assertEqual(self.get("/files/empty.bin", "bytes=0-")[0], 416)

    def test_ranges_it_does_not_serve_give_the_whole_file(self):
        for rng in ("bytes=0-1,5-6", "lines=1-2", "bytes=9-3"):
            with self.subTest(rng):
                status, _, body = self.get("/files/data.bin", rng)
                self.assertEqual((status, len(body)), (200, len(self.payload)))

    def test_head_reports_the_length_only(self):
        conn = self.server.connection()
        try:
            conn.request("HEAD", "/files/data.bin", headers=self.server.auth())
            resp = conn.getresponse()
            self.assertEqual(resp.status, 200)
            self.assertEqual(resp.getheader("Content-Length"), str(len(self.payload)))
            self.assertEqual(resp.read(), b"")
        finally:
            conn.close()

    def test_missing_files_and_paths_outside_the_folder_are_404(self):
        self.assertEqual(self.get("/files/nope.bin")[0], 404)
        self.assertEqual(self.get("/files/../password")[0], 404)
        self.assertEqual(self.get("/files/%2e%2e/password")[0], 404)

    def test_digests_beside_each_file_and_in_the_manifest(self):
        status, _, body = self.get("/files/data.bin.sha512")
        self.assertEqual(status, 200)
        self.assertEqual(body.decode(), f"{hashlib.sha512(self.payload).hexdigest()}  data.bin\n")
        self.assertEqual(self.get("/files/data.bin.md5")[2].decode().split()[0],
                         hashlib.md5(self.payload).hexdigest())
        manifest = json.loads(self.server.call("GET", "/__manifest", auth=False)[2])["files"]
        self.assertEqual(manifest["data.bin"], {"size": len(self.payload),
                                                "md5": hashlib.md5(self.payload).hexdigest(),
                                                "sha512": hashlib.sha512(self.payload).hexdigest()})

    def test_download_records_the_range(self):
        self.get("/files/data.bin", "bytes=5-")
        rec = self.server.records()[-1]
        self.assertEqual((rec["path"], rec["range"], rec["httpStatus"]), ("/files/data.bin", "bytes=5-", 206))


class UploadTests(ServerTestCase):

    def test_raw_body_is_stored_as_it_came(self):
        body = os.urandom(300000)
        status, _, raw = self.server.call("POST", "/upload/report.bin", body,
                                          {"Content-Type": "multipart/form-data; charset=utf-8"})
        self.assertEqual(status, 200)
        result = json.loads(raw)
        self.assertEqual(result, {"name": "report.bin", "size": len(body),
                                  "md5": hashlib.md5(body).hexdigest(),
                                  "sha512": hashlib.sha512(body).hexdigest()})
        self.assertEqual((self.server.uploads / "report.bin").read_bytes(), body)
        rec = self.server.records()[-1]
        self.assertEqual(rec["contentType"], "multipart/form-data; charset=utf-8")
        self.assertEqual(rec["bodyLength"], len(body))
        self.assertEqual(rec["bodySha512"], result["sha512"])

    def test_chunked_upload_and_empty_upload(self):
        conn = self.server.connection()
        try:
            conn.putrequest("POST", "/upload/chunked.bin")
            for k, v in self.server.auth().items():
                conn.putheader(k, v)
            conn.putheader("Transfer-Encoding", "chunked")
            conn.endheaders()
            for piece in (b"hello ", b"chunked ", b"world"):
                conn.send(b"%x\r\n%s\r\n" % (len(piece), piece))
            conn.send(b"0\r\n\r\n")
            self.assertEqual(conn.getresponse().status, 200)
        finally:
            conn.close()
        self.assertEqual((self.server.uploads / "chunked.bin").read_bytes(), b"hello chunked world")
        self.assertEqual(self.server.call("POST", "/upload/empty.bin", b"")[0], 200)
        self.assertEqual((self.server.uploads / "empty.bin").read_bytes(), b"")

    def test_upload_outside_the_folder_is_refused(self):
        self.assertEqual(self.server.call("POST", "/upload/../escape.bin", b"x")[0], 403)
        self.assertFalse((self.server.dir / "escape.bin").exists())


class FaultTests(ServerTestCase):

    def setUp(self):
        super().setUp()
        (self.server.files / "f.bin").write_bytes(b"0123456789" * 1000)

    def test_control_reports_and_validates_the_fault_set(self):
        status, state = self.server.control({"httpStatus": 500, "paths": ["/client"]})
        self.assertEqual(status, 200)
        self.assertEqual(state["faults"]["httpStatus"], 500)
        current = json.loads(self.server.call("GET", "/__control", auth=False)[2])
        self.assertEqual(current["faults"]["paths"], ["/client"])
        for bad in ({"httpstatus": 500}, {"malformedXml": 1}, [], {"paths": "/client"}):
            with self.subTest(bad):
                self.assertEqual(self.server.control(bad)[0], 400)

    def test_http_error_status(self):
        self.server.control({"httpStatus": 500})
        status, _, body = self.post(request(".keepaliverequest"))
        self.assertEqual(status, 500)
        self.assertEqual(self.server.records()[-1]["faults"], ["httpStatus"])
        self.assertEqual(self.server.call("GET", "/files/f.bin")[0], 500)

    def test_malformed_reply(self):
        self.server.control({"malformedXml": True})
        status, _, body = self.post(request(".keepaliverequest"))
        self.assertEqual(status, 200)
        with self.assertRaises(etree.XMLSyntaxError):
            etree.fromstring(body)

    def test_truncated_reply(self):
        self.server.control({"truncatedXml": True, "paths": ["/client"]})
        status, headers, body = self.post(request(".keepaliverequest"))
        self.assertEqual(status, 200)
        self.assertEqual(int(headers["Content-Length"]), len(body))
        self.assertTrue(body.startswith(DECLARATION.encode()))
        with self.assertRaises(etree.XMLSyntaxError):
            etree.fromstring(body)

    def test_truncated_download_ends_before_its_announced_length(self):
        self.server.control({"truncatedXml": True})
        conn = self.server.connection()
        try:
            conn.request("GET", "/files/f.bin", headers=self.server.auth())
            resp = conn.getresponse()
            self.assertEqual(resp.getheader("Content-Length"), "10000")
            with self.assertRaises(http.client.IncompleteRead) as ctx:
                resp.read()
            self.assertEqual(len(ctx.exception.partial), 5000)
        finally:
            conn.close()

    def test_slow_reply(self):
        self.server.control({"delaySeconds": 0.6})
        began = time.monotonic()
        status, _, body = self.post(request(".keepaliverequest"))
        self.assertGreaterEqual(time.monotonic() - began, 0.6)
        self.assertEqual(Reply(body).code, 0)

    def test_skewed_time_stamp(self):
        self.server.control({"clockSkewSeconds": -86400})
        reply = self.ask(".keepaliverequest")
        stamp = int(reply.root.findtext("messageTimestamp")) / 1000
        self.assertLess(abs(stamp - (time.time() - 86400)), 120)
        self.assertLess(abs(int(reply.status()["timestamp"]) / 1000 - stamp), 5)

    def test_wrong_credentials(self):
        self.server.control({"wrongCredentials": True})
        reply = self.ask(".keepaliverequest")
        self.assertEqual(reply.code, 1400)
        self.assertEqual(reply.status()["title"], "Authentication Error")

    def test_array_without_element_class(self):
        self.server.control({"arrayWithoutClass": True})
        sites = self.ask(".clientsiteprivilegesrequest").data().find(n("sites"))
        self.assertEqual(fields_of(sites[0]), ["id", "name", "privileges", "currentUserSite"])
        self.assertEqual([p.text for p in sites[0].find(n("privileges"))], FIXTURE["sites"][0]["privileges"])
        self.assertEqual(sites[0].find(n("privileges"))[0].tag, n("privilege"))

    def test_connection_cut(self):
        self.server.control({"cutConnection": True})
        with self.assertRaises((ConnectionError, http.client.RemoteDisconnected, http.client.BadStatusLine)):
            self.post(request(".keepaliverequest"))
        with self.assertRaises((ConnectionError, http.client.RemoteDisconnected, http.client.BadStatusLine)):
            self.server.call("GET", "/files/f.bin")
        self.assertEqual([r["faults"] for r in self.server.records()], [["cutConnection"]] * 2)

    def test_fault_for_a_number_of_requests_then_off(self):
        self.server.control({"httpStatus": 503, "remaining": 2})
        statuses = [self.post(request(".keepaliverequest"))[0] for _ in range(3)]
        self.assertEqual(statuses, [503, 503, 200])
        self.assertEqual(json.loads(self.server.call("GET", "/__control", auth=False)[2])["faults"]["httpStatus"], 0)

    def test_fault_limited_to_some_paths(self):
        self.server.control({"httpStatus": 500, "paths": ["/files/"]})
        self.assertEqual(self.post(request(".keepaliverequest"))[0], 200)
        self.assertEqual(self.server.call("GET", "/files/f.bin")[0], 500)

    def test_rate_limited_download_still_arrives_whole(self):
        self.server.control({"rateLimit": 200000})
        status, _, body = self.server.call("GET", "/files/f.bin")
        self.assertEqual((status, body), (200, b"0123456789" * 1000))

    def test_upload_fault_stores_nothing(self):
        self.server.control({"httpStatus": 500, "paths": ["/upload/"]})
        self.assertEqual(self.server.call("POST", "/upload/u.bin", b"data")[0], 500)
        self.assertFalse((self.server.uploads / "u.bin").exists())
        self.assertEqual(self.server.call("POST", "/upload/u.bin", b"data")[0], 500)
        self.server.control({})
        self.assertEqual(self.server.call("POST", "/upload/u.bin", b"data")[0], 200)


class CommandLineFaultTests(ServerTestCase):
    server_args = ("--fault-http-status", "503", "--fault-remaining", "1", "--fault-paths", "/client")

    def test_fault_given_on_the_command_line(self):
        self.assertEqual(self.post(request(".keepaliverequest"))[0], 503)
        self.assertEqual(self.post(request(".keepaliverequest"))[0], 200)

    def setUp(self):
        # Keep the command-line fault for the first request of this class.
        self.server.call("DELETE", "/__requests", auth=False)


class TlsTests(ServerTestCase):
    tls = True

    def test_serves_https_with_a_self_signed_certificate(self):
        self.assertEqual(self.server.listening_line, f"listening on https://127.0.0.1:{self.server.port}")
        cert = self.server.cert.read_text()
        self.assertIn("BEGIN CERTIFICATE", cert)
        self.assertEqual(self.ask(".keepaliverequest").code, 0)

    def test_keeps_a_tls_connection_open(self):
        conn = self.server.connection()
        try:
            self.server.post(request(".keepaliverequest"), conn=conn)
            first = conn.sock
            self.assertEqual(self.server.post(request(".packageindexrequest"), conn=conn)[0], 200)
            self.assertIs(conn.sock, first)
        finally:
            conn.close()

    def test_plain_http_on_the_tls_port_is_dropped_and_the_server_carries_on(self):
        with socket.create_connection(("127.0.0.1", self.server.port), timeout=10) as s:
            s.sendall(b"GET /__control HTTP/1.1\r\nHost: x\r\n\r\n")
            try:
                data = s.recv(100)
            except ConnectionError:
                data = b""
            self.assertFalse(data.startswith(b"HTTP/1.1 200"))
        self.assertEqual(self.ask(".keepaliverequest").code, 0)

    def test_an_untrusting_client_fails_the_handshake(self):
        ctx = ssl.create_default_context()
        conn = http.client.HTTPSConnection("127.0.0.1", self.server.port, timeout=10, context=ctx)
        with self.assertRaises(ssl.SSLCertVerificationError):
            conn.request("GET", "/__control")
        conn.close()


class NoAuthTests(unittest.TestCase):

    def test_without_a_user_every_request_is_let_in(self):
        server = ServerProcess(user=None)
        try:
            status, _, raw = server.post(request(".keepaliverequest"), auth=False)
            self.assertEqual((status, Reply(raw).code), (200, 0))
            self.assertIsNone(server.records()[-1]["authUser"])
        finally:
            server.stop()

    def test_bad_command_lines_are_refused(self):
        for args in (["--tls-cert", "x.pem"], ["--password-file", "p"]):
            with self.subTest(args):
                proc = subprocess.run([sys.executable, str(SERVER), *args], capture_output=True, timeout=60)
                self.assertEqual(proc.returncode, 2)


if __name__ == "__main__":
    unittest.main()
