"""Every member of the interface, from the wire. Arguments: orvik-server, name of a test class."""
import os
import re
import sys
import unittest

from alpaca import (INVALID_OPERATION, INVALID_VALUE, NOT_CONNECTED, NOT_IMPLEMENTED, Server)

PROGRAM = os.path.abspath(sys.argv.pop(1))

COLOUR_COOLED = "Vek T13C COOL"  # order of colours GR
MONO = "Vek T10M"
EIGHT_BITS = "Vek T01C"  # USB 2, order of colours GR
BGGR = "Vek T14C"
CAMERAS = ("T13C_C,serial=00000001", "T10M,serial=00000002", "T01C,serial=00000003",
           "T14C,serial=00000004")

FREE = {  # work without a connection
    "connected": bool, "connecting": bool, "description": str, "driverinfo": str,
    "driverversion": str, "interfaceversion": int, "name": str, "supportedactions": list}
CONNECTED = {  # need a connection; every camera has them
    "binx": int, "biny": int, "camerastate": int, "cameraxsize": int, "cameraysize": int,
    "canabortexposure": bool, "canasymmetricbin": bool, "canfastreadout": bool,
    "cangetcoolerpower": bool, "canpulseguide": bool, "cansetccdtemperature": bool,
    "canstopexposure": bool, "devicestate": list, "exposuremax": float, "exposuremin": float,
    "exposureresolution": float, "gain": int, "gainmax": int, "gainmin": int, "hasshutter": bool,
    "imageready": bool, "ispulseguiding": bool, "maxadu": int, "maxbinx": int, "maxbiny": int,
    "numx": int, "numy": int, "offset": int, "offsetmax": int, "offsetmin": int,
    "percentcompleted": int, "pixelsizex": float, "pixelsizey": float, "readoutmode": int,
    "readoutmodes": list, "sensorname": str, "sensortype": int, "startx": int, "starty": int}
NO_IMAGE = {"imagearray": list, "imagearrayvariant": list, "lastexposureduration": float,
            "lastexposurestarttime": str}
NEVER = {"electronsperadu": float, "fastreadout": bool, "fullwellcapacity": float, "gains": list,
         "heatsinktemperature": float, "offsets": list, "subexposureduration": float}
COLOUR = {"bayeroffsetx": int, "bayeroffsety": int}
COOLER = {"cooleron": bool, "coolerpower": float, "setccdtemperature": float}
THERMOMETER = {"ccdtemperature": float}
PUTS = {  # parameters with values of their types
    "action": {"Action": "x"}, "commandblind": {"Command": "x", "Raw": "true"},
    "commandbool": {"Command": "x", "Raw": "true"},
    "commandstring": {"Command": "x", "Raw": "true"}, "connected": {"Connected": "true"},
    "connect": {}, "disconnect": {}, "abortexposure": {}, "stopexposure": {},
    "binx": {"BinX": "1"}, "biny": {"BinY": "1"}, "cooleron": {"CoolerOn": "false"},
    "fastreadout": {"FastReadout": "true"}, "gain": {"Gain": "10"}, "numx": {"NumX": "8"},
    "numy": {"NumY": "8"}, "offset": {"Offset": "1"},
    "pulseguide": {"Direction": "0", "Duration": "1"}, "readoutmode": {"ReadoutMode": "0"},
    "setccdtemperature": {"SetCCDTemperature": "0"},
    "startexposure": {"Duration": "0.01", "Light": "true"}, "startx": {"StartX": "0"},
    "starty": {"StartY": "0"}, "subexposureduration": {"SubExposureDuration": "1"}}
BAD = {"Connected": "1", "Raw": "yes", "FastReadout": "", "CoolerOn": "on", "Light": "0",
       "BinX": "1.0", "BinY": "+1", "Gain": "1e2", "NumX": "1,000", "NumY": "2147483648",
       "Offset": "", "Direction": "N", "Duration": "1;2", "ReadoutMode": " 0",
       "SetCCDTemperature": "nan", "StartX": "x", "StartY": "-", "SubExposureDuration": "inf"}


class Wire(unittest.TestCase):
    def setUp(self):
        self.server = Server(PROGRAM, *CAMERAS)
        self.addCleanup(self.server.close)
        self.client = self.server.client()

    def camera(self, name):
        return self.server.camera(name, self.client)

    def assert_type(self, kind, value, member):
        self.assertIs(int if kind is float and isinstance(value, int) else kind, type(value), member)


class Members(Wire):
    def lacking(self, name):
        """What a model does not have."""
        return {**NEVER, **({} if name != MONO else COLOUR),
                **({} if name == COLOUR_COOLED else COOLER)}

    def test_without_a_connection(self):
        camera = self.camera(COLOUR_COOLED)
        for member, kind in FREE.items():
            self.assert_type(kind, camera.get(member), member)
        for member, kind in {**CONNECTED, **NO_IMAGE, **COLOUR, **COOLER, **THERMOMETER}.items():
            answer = camera.answer("GET", member)
            self.assertEqual(NOT_CONNECTED, answer["ErrorNumber"], member)
            self.assert_type(kind, answer["Value"], member)
        for member, kind in NEVER.items():
            answer = camera.answer("GET", member)
            self.assertEqual(NOT_IMPLEMENTED, answer["ErrorNumber"], member)
            self.assert_type(kind, answer["Value"], member)
        missing = {"action", "commandblind", "commandbool", "commandstring", "fastreadout",
                   "stopexposure", "subexposureduration"}
        for member in PUTS.keys() - {"connected", "connect", "disconnect"}:
            self.assertEqual(NOT_IMPLEMENTED if member in missing else NOT_CONNECTED,
                             camera.error("PUT", member, **PUTS[member]), member)

    def test_each_model(self):
        for name in (COLOUR_COOLED, MONO, EIGHT_BITS, BGGR):
            with self.subTest(name):
                camera = self.camera(name).connect()
                lacking = self.lacking(name)
                has = {**FREE, **CONNECTED, **COLOUR, **COOLER}
                for member in has.keys() - lacking.keys():
                    self.assert_type(has[member], camera.get(member), member)
                for member, kind in lacking.items():
                    answer = camera.answer("GET", member)
                    self.assertEqual(NOT_IMPLEMENTED, answer["ErrorNumber"], member)
                    self.assert_type(kind, answer["Value"], member)
                for member, kind in NO_IMAGE.items():
                    answer = camera.answer("GET", member)
                    self.assertEqual(INVALID_OPERATION, answer["ErrorNumber"], member)
                    self.assert_type(kind, answer["Value"], member)
                for member in lacking.keys() & PUTS.keys():
                    self.assertEqual(NOT_IMPLEMENTED, camera.error("PUT", member, **PUTS[member]))

    def test_facts(self):
        facts = {
            COLOUR_COOLED: {"cameraxsize": 1304, "cameraysize": 976, "maxbinx": 4, "sensortype": 2,
                            "bayeroffsetx": 1, "bayeroffsety": 0, "maxadu": 65535,
                            "pixelsizey": 3.75, "cansetccdtemperature": True, "exposuremax": 1000,
                            "cangetcoolerpower": True, "ccdtemperature": 20,
                            "readoutmodes": ["16 bit", "8 bit", "8 bit fast"]},
            MONO: {"cameraxsize": 1936, "sensortype": 0, "maxbiny": 2, "cooleron": None,
                   "cansetccdtemperature": False, "cangetcoolerpower": False},
            EIGHT_BITS: {"maxadu": 255, "readoutmodes": ["8 bit"], "exposuremin": 0.0001,
                         "bayeroffsetx": 1, "bayeroffsety": 0, "numx": 640, "numy": 480},
            BGGR: {"bayeroffsetx": 1, "bayeroffsety": 1, "interfaceversion": 4, "gain": 200,
                   "exposureresolution": 1e-6, "exposuremin": 32e-6, "canstopexposure": False,
                   "canabortexposure": True, "hasshutter": False, "canasymmetricbin": False,
                   "canfastreadout": False, "canpulseguide": True, "sensorname": "",
                   "percentcompleted": 0, "camerastate": 0, "supportedactions": []}}
        for name, values in facts.items():
            camera = self.camera(name).connect()
            self.assertEqual(name, camera.get("name"))
            self.assertIn(name, camera.get("description"))
            self.assertRegex(camera.get("driverversion"), r"^\d+\.\d+$")
            for member, value in values.items():
                if value is not None:
                    self.assertEqual(value, camera.get(member), f"{name} {member}")

    def test_settings(self):
        camera = self.camera(COLOUR_COOLED).connect()
        # A value that is kept, and those that are refused.
        cases = {"gain": ("Gain", 77, (-1, 601, 2147483647)), "binx": ("BinX", 3, (0, 5, -1)),
                 "biny": ("BinY", 4, (0, 5)), "offset": ("Offset", 11, (-1, 241)),
                 "readoutmode": ("ReadoutMode", 1, (-1, 3)), "numx": ("NumX", -2147483648, ()),
                 "numy": ("NumY", 100000, ()), "startx": ("StartX", -5, ()),
                 "starty": ("StartY", 2147483647, ())}
        for member, (parameter, good, bad) in cases.items():
            camera.put(member, **{parameter: good})
            for value in bad:
                self.assertEqual(INVALID_VALUE, camera.error("PUT", member, **{parameter: value}))
            self.assertEqual(good, camera.get(member))
        self.assertEqual((4, 4), (camera.get("binx"), camera.get("biny")))
        self.assertEqual((-2147483648, 255), (camera.get("numx"), camera.get("maxadu")))
        camera.put("connected", Connected="FALSE")
        camera.put("connected", Connected="True")
        self.assertEqual([1, 1, 1304, 976, 0, 0, 0], [camera.get(member) for member in (
            "binx", "biny", "numx", "numy", "startx", "starty", "readoutmode")])

    def test_devicestate(self):
        states = {name: self.camera(name).connect().get("devicestate")
                  for name in (COLOUR_COOLED, MONO)}
        names = ["CameraState", "CCDTemperature", "CoolerPower", "ImageReady", "IsPulseGuiding",
                 "PercentCompleted", "TimeStamp"]
        self.assertEqual(names, [state["Name"] for state in states[COLOUR_COOLED]])
        names.remove("CoolerPower")
        names = [name for name in names if name != "CCDTemperature" or
                 self.camera(MONO).error("GET", "ccdtemperature") == 0]
        self.assertEqual(names, [state["Name"] for state in states[MONO]])
        self.assertRegex(states[MONO][-1]["Value"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d")


class Requests(Wire):
    def test_not_understood(self):
        base = self.camera(MONO).path("")
        self.assertEqual(200, self.client.request("GET", base + "name")[0])
        bad = ["/api", "/api/", "/api/v1", "/api/v2/camera/0/name", "/API/v1/camera/0/name",
               "/api/v1/Camera/0/name", "/api/v1/telescope/0/name", "/api/v1/camera/9/name",
               "/api/v1/camera/-1/name", "/api/v1/camera/00/name", "/api/v1/camera/0x0/name",
               "/api/v1/camera/99999999999999999999/name", "/api/v1/camera//name",
               "/api/v1/camera/0/Name", "/api/v1/camera/0/", "/api/v1/camera/0",
               "/api/v1/camera/0/name/", "/api/v1/camera/0/nam%65", "/api/v1/camera/0/slew",
               "/management", "/management/v1/other", "/management/v2/description"]
        for path in bad:
            status, kind, body = self.client.request("GET", path)
            self.assertEqual((400, "text/plain"), (status, kind.split(";")[0]), path)
            self.assertTrue(body, path)
        for method, member in (("PUT", "name"), ("GET", "startexposure"), ("POST", "name"),
                               ("DELETE", "name"), ("PUT", "imagearray"), ("GET", "connect")):
            self.assertEqual(400, self.client.request(method, base + member)[0], (method, member))

    def test_parameters(self):
        camera = self.camera(COLOUR_COOLED).connect()
        before = {member: camera.get(member) for member in PUTS.keys() & CONNECTED.keys()}
        for member, parameters in PUTS.items():
            for name, value in parameters.items():
                others = {key: text for key, text in parameters.items() if key != name}
                self.assertEqual(400, camera.status("PUT", member, others), (member, name))
                self.assertEqual(400, camera.status("PUT", member, {**others, name.lower(): value}))
                if name in BAD:
                    self.assertEqual(400, camera.status("PUT", member, {**others, name: BAD[name]}),
                                     (member, name))
        self.assertEqual(before, {member: camera.get(member) for member in before})
        self.assertEqual(400, self.client.request("PUT", camera.path("gain?Gain=5"))[0])
        # As clients spell them.
        for text in ("Gain=%35", "Other=1&Gain=5&gain=7", "Gain=5&", "&&Gain=5"):
            camera.put("gain", Gain=9)
            self.assertEqual(200, camera.status("PUT", "gain", text), text)
            self.assertEqual(5, camera.get("gain"), text)
        for text in ("1E-05", "0.5", "2", "-3", "1e300", ".5"):
            self.assertEqual(200, camera.status("PUT", "startexposure",
                                                {"Duration": text, "Light": "TRUE"}), text)
            camera.put("abortexposure")
        kind = {"Content-Type": "application/x-www-form-urlencoded; charset=utf-8"}
        self.assertEqual(200, self.client.request("PUT", camera.path("gain"), "Gain=6", kind)[0])

    def test_transactions(self):
        camera = self.camera(MONO).connect()
        first = camera.answer("GET", "name", ClientTransactionID=4294967295, ClientID=1)
        self.assertEqual(["Value", "ClientTransactionID", "ServerTransactionID", "ErrorNumber",
                          "ErrorMessage"], list(first))
        self.assertEqual((4294967295, 0, ""), (first["ClientTransactionID"], first["ErrorNumber"],
                                               first["ErrorMessage"]))
        second = camera.answer("GET", "gain", clienttransactionid=7, CLIENTID=3)
        self.assertEqual(7, second["ClientTransactionID"])
        self.assertEqual(first["ServerTransactionID"] + 1, second["ServerTransactionID"])
        put = camera.answer("PUT", "gain", Gain=5, ClientTransactionID=8, ClientID=65535)
        self.assertEqual((8, False), (put["ClientTransactionID"], "Value" in put))
        put = camera.answer("PUT", "gain", Gain=6, clienttransactionid=9, clientid="x")
        self.assertEqual(0, put["ClientTransactionID"])
        self.assertEqual(6, camera.get("gain"))
        for name in ("ClientID", "ClientTransactionID"):
            for value in ("", " ", "-1", "1.5", "x", "4294967296", "+1"):
                self.assertEqual(400, camera.status("GET", "gain", {name: value}), value)
                self.assertEqual(400, camera.status("PUT", "gain", {"Gain": 1, name: value}), value)
        self.assertEqual(6, camera.get("gain"))

    def test_management(self):
        self.assertEqual([1], self.client.value("/management/apiversions"))
        description = self.client.value("/management/v1/description")
        self.assertEqual(["ServerName", "Manufacturer", "ManufacturerVersion", "Location"],
                         list(description))
        devices = self.client.value("/management/v1/configureddevices")
        self.assertEqual(list(range(len(CAMERAS))), [one["DeviceNumber"] for one in devices])
        self.assertEqual({"Camera"}, {one["DeviceType"] for one in devices})
        identifiers = [one["UniqueID"] for one in devices]
        self.assertEqual(len(CAMERAS), len(set(identifiers)))
        for identifier in identifiers:
            self.assertRegex(identifier, r"^[0-9a-f]{8}-[0-9a-f]{4}-5[0-9a-f]{3}-[89ab]")
        # The same in the next run, in another order.
        other = Server(PROGRAM, *reversed(CAMERAS))
        self.addCleanup(other.close)
        again = other.client().value("/management/v1/configureddevices")
        self.assertEqual({one["DeviceName"]: one["UniqueID"] for one in devices},
                         {one["DeviceName"]: one["UniqueID"] for one in again})
        answer = self.client.json("GET", "/management/apiversions", "clienttransactionid=5")
        self.assertEqual(5, answer["ClientTransactionID"])
        status, kind, page = self.client.request("GET", "/setup")
        self.assertEqual((200, "text/html"), (status, kind.split(";")[0]))
        self.assertEqual(len(CAMERAS), len(re.findall(rb'href="/camera/\d+"', page)))
        status, _, page = self.client.request("GET", "/setup/v1/camera/1/setup")
        self.assertEqual(200, status)
        self.assertIn(b"/camera/1", page)
        for path in ("/setup/v1/camera/9/setup", "/setup/v1/camera/0", "/setup/x", "/setup/"):
            self.assertEqual(403, self.client.request("GET", path)[0], path)


if __name__ == "__main__":
    unittest.main()
