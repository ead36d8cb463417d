"""A conformance run: uses a camera as the checkers of the standard do, in their order, and reports
what they would flag.

    conformance.py URL NUMBER [--times]       a camera of any Alpaca server
    conformance.py ORVIK-SERVER MODEL         a virtual one

With --times the standard's response times count: properties in 0.1 s, methods in 1 s. Otherwise only
answers that take far longer are flagged, since a test machine may be busy.
"""
import math
import re
import sys
import time
import urllib.parse

from alpaca import (INVALID_OPERATION, INVALID_VALUE, NOT_CONNECTED, NOT_IMPLEMENTED, AlpacaError,
                    Camera, Client, Image, Server)

PROPERTIES = {
    "bayeroffsetx": int, "bayeroffsety": int, "binx": int, "biny": int, "camerastate": int,
    "cameraxsize": int, "cameraysize": int, "canabortexposure": bool, "canasymmetricbin": bool,
    "canfastreadout": bool, "cangetcoolerpower": bool, "canpulseguide": bool,
    "cansetccdtemperature": bool, "canstopexposure": bool, "ccdtemperature": float,
    "cooleron": bool, "coolerpower": float, "electronsperadu": float, "exposuremax": float,
    "exposuremin": float, "exposureresolution": float, "fastreadout": bool,
    "fullwellcapacity": float, "gain": int, "gainmax": int, "gainmin": int, "gains": list,
    "hasshutter": bool, "heatsinktemperature": float, "imagearray": list,
    "imagearrayvariant": list, "imageready": bool, "ispulseguiding": bool,
    "lastexposureduration": float, "lastexposurestarttime": str, "maxadu": int, "maxbinx": int,
    "maxbiny": int, "numx": int, "numy": int, "offset": int, "offsetmax": int, "offsetmin": int,
    "offsets": list, "percentcompleted": int, "pixelsizex": float, "pixelsizey": float,
    "readoutmode": int, "readoutmodes": list, "sensorname": str, "sensortype": int,
    "setccdtemperature": float, "startx": int, "starty": int, "subexposureduration": float}
COMMON = {"description": str, "driverinfo": str, "driverversion": str, "interfaceversion": int,
          "name": str, "supportedactions": list}
STATES = {"CameraState", "CCDTemperature", "CoolerPower", "HeatSinkTemperature", "ImageReady",
          "IsPulseGuiding", "PercentCompleted", "TimeStamp"}


class Run:
    def __init__(self, camera, fast, slow):
        self.camera = camera
        self.limits = {"GET": fast, "PUT": slow}
        self.slowest = {"GET": (0, ""), "PUT": (0, "")}
        self.flags = []
        self.checks = 0

    def flag(self, is_right, text):
        self.checks += 1
        if not is_right:
            self.flags.append(text)
            print("FLAGGED:", text)

    def call(self, method, member, **parameters):
        """The value, None for a PUT, or the error."""
        begun = time.monotonic()
        answer = self.camera.answer(method, member, ClientID=1, ClientTransactionID=77,
                                    **parameters)
        took = time.monotonic() - begun
        what = f"{method} {member} {parameters or ''}".strip()
        self.slowest[method] = max(self.slowest[method], (took, what))
        self.flag(took <= self.limits[method], f"{what} took {took:.3f} s")
        self.flag(answer.get("ClientTransactionID") == 77, f"{what}: ClientTransactionID")
        self.flag(answer.get("ServerTransactionID", 0) > 0, f"{what}: ServerTransactionID")
        kind = {**PROPERTIES, **COMMON}.get(member)
        if method == "GET" and kind is not None:
            value = answer.get("Value")
            fits = isinstance(value, (int, float)) if kind is float else type(value) is kind
            self.flag(fits, f"{what}: the Value {value!r} is no {kind.__name__}")
        number = answer["ErrorNumber"]
        self.flag(bool(number) == bool(answer["ErrorMessage"]), f"{what}: ErrorMessage")
        if number:
            return AlpacaError(number, answer["ErrorMessage"])
        return answer.get("Value")

    def read(self, member):
        value = self.call("GET", member)
        if isinstance(value, AlpacaError):
            self.flag(False, f"{member}: {value}")
        return value

    def fails(self, number, method, member, **parameters):
        result = self.call(method, member, **parameters)
        got = result.number if isinstance(result, AlpacaError) else 0
        self.flag(got == number, f"{method} {member} {parameters}: {got:#x}, not {number:#x}")

    def works(self, member, **parameters):
        result = self.call("PUT", member, **parameters)
        self.flag(result is None, f"PUT {member} {parameters}: {result}")
        return result is None

    def wait(self, member, wanted, seconds):
        deadline = time.monotonic() + seconds
        while (value := self.call("GET", member)) != wanted:
            if isinstance(value, AlpacaError) or time.monotonic() > deadline:
                return self.flag(False, f"{member} does not become {wanted}: {value}")
            time.sleep(0.02)

    # The parts of a run.

    def connections(self):
        self.works("connected", Connected="True")
        self.flag(self.read("connected") is True, "connected after True")
        self.works("connected", Connected="False")
        self.flag(self.read("connected") is False, "connected after False")
        for member, wanted in (("connect", True), ("disconnect", False), ("connect", True)):
            self.works(member)
            self.wait("connecting", False, 30)
            self.flag(self.read("connected") is wanted, f"connected after {member}")

    def common(self):
        values = {member: self.read(member) for member in COMMON}
        self.flag(0 < len(values["description"]) <= 64, "the length of Description")
        self.flag(values["interfaceversion"] == 4, "InterfaceVersion")
        self.flag(re.fullmatch(r"\d+\.\d+", values["driverversion"]), "DriverVersion")
        for member, parameters in (("action", {"Action": "x", "Parameters": ""}),
                                   ("commandblind", {"Command": "x", "Raw": "True"}),
                                   ("commandbool", {"Command": "x", "Raw": "True"}),
                                   ("commandstring", {"Command": "x", "Raw": "True"})):
            self.fails(NOT_IMPLEMENTED, "PUT", member, **parameters)
        names = [one["Name"] for one in self.read("devicestate")]
        self.flag(set(names) <= STATES and len(names) == len(set(names)), f"DeviceState: {names}")

    def properties(self):
        """Reads all before the first exposure, and checks what each may be."""
        values = {member: self.call("GET", member) for member in PROPERTIES}

        def number(member):
            value = values[member]
            return value.number if isinstance(value, AlpacaError) else 0
        self.values = values
        cooled, colour = values["cansetccdtemperature"], values["sensortype"] == 2
        missing = {"electronsperadu", "fullwellcapacity", "heatsinktemperature",
                   "subexposureduration", *(() if values["canfastreadout"] else ["fastreadout"]),
                   *(() if colour else ["bayeroffsetx", "bayeroffsety"]),
                   *(() if cooled else ["cooleron", "setccdtemperature"]),
                   *(() if values["cangetcoolerpower"] else ["coolerpower"])}
        for way, limits in (("gains", ("gainmin", "gainmax")), ("offsets", ("offsetmin",
                                                                            "offsetmax"))):
            # Either a list of names, or limits; or neither.
            missing.update(limits if number(way) == 0 else [way])
        before_image = {"imagearray", "imagearrayvariant", "lastexposureduration",
                        "lastexposurestarttime"}
        for member in PROPERTIES:
            wanted = (NOT_IMPLEMENTED if member in missing else
                      INVALID_OPERATION if member in before_image else 0)
            got = number(member)
            optional = member == "ccdtemperature" and got == NOT_IMPLEMENTED
            self.flag(got == wanted or optional, f"{member}: {got:#x}, not {wanted:#x}")
        self.flag(values["imageready"] is False, "ImageReady before the first exposure")
        self.flag(values["camerastate"] == 0, "CameraState before the first exposure")
        self.flag(0 <= values["percentcompleted"] <= 100, "PercentCompleted")
        self.flag((values["binx"], values["startx"], values["starty"]) == (1, 0, 0), "the first bin")
        self.flag((values["numx"], values["numy"]) == (values["cameraxsize"], values["cameraysize"]),
                  "the first subframe is the whole sensor")
        self.flag(0 < values["exposuremin"] <= values["exposuremax"], "limits of the exposure")
        self.flag(values["pixelsizex"] > 0 and values["maxadu"] > 0, "pixels")
        if colour:
            self.flag({values["bayeroffsetx"], values["bayeroffsety"]} <= {0, 1}, "Bayer offsets")

    def settings(self):
        v = self.values
        for axis in "XY":
            largest = v[f"maxbin{axis.lower()}"]
            for bin in (0, -1, largest + 1):
                self.fails(INVALID_VALUE, "PUT", f"bin{axis.lower()}", **{f"Bin{axis}": bin})
            for bin in range(1, largest + 1):
                self.works(f"bin{axis.lower()}", **{f"Bin{axis}": bin})
                self.flag(self.read(f"bin{axis.lower()}") == bin, f"Bin{axis} {bin} is not kept")
                other = "y" if axis == "X" else "x"
                self.flag(v["canasymmetricbin"] or self.read(f"bin{other}") == bin,
                          f"Bin{axis} {bin} does not set the other axis")
            self.works(f"bin{axis.lower()}", **{f"Bin{axis}": 1})
            # The subframe is judged by StartExposure only.
            size = v[f"camera{axis.lower()}size"]
            for name, value in (("Num", size // 2), ("Num", size + 100), ("Start", size // 2)):
                self.works(f"{name}{axis}".lower(), **{f"{name}{axis}": value})
                self.flag(self.read(f"{name}{axis}".lower()) == value, f"{name}{axis} {value}")
            self.works(f"num{axis.lower()}", **{f"Num{axis}": size})
            self.works(f"start{axis.lower()}", **{f"Start{axis}": 0})
        for name in ("Gain", "Offset"):
            member = name.lower()
            if isinstance(v[member], AlpacaError) or not isinstance(v[member + "s"], AlpacaError):
                continue
            low, high = v[member + "min"], v[member + "max"]
            self.flag(low <= v[member] <= high, f"{name} is outside its limits")
            for value in (low, high):
                self.works(member, **{name: value})
                self.flag(self.read(member) == value, f"{name} {value} is not kept")
            for value in (low - 1, high + 1):
                self.fails(INVALID_VALUE, "PUT", member, **{name: value})
            self.works(member, **{name: v[member]})
        modes = len(v["readoutmodes"])
        for mode in range(modes):
            self.works("readoutmode", ReadoutMode=mode)
            self.flag(self.read("readoutmode") == mode, f"ReadoutMode {mode} is not kept")
        for mode in (-1, modes):
            self.fails(INVALID_VALUE, "PUT", "readoutmode", ReadoutMode=mode)
        self.works("readoutmode", ReadoutMode=0)
        self.fails(NOT_IMPLEMENTED, "PUT", "subexposureduration", SubExposureDuration=1)
        self.fails(NOT_IMPLEMENTED, "PUT", "fastreadout", FastReadout="True")

    def cooler(self):
        if not self.values["cansetccdtemperature"]:
            self.fails(NOT_IMPLEMENTED, "PUT", "setccdtemperature", SetCCDTemperature=0)
            self.fails(NOT_IMPLEMENTED, "PUT", "cooleron", CoolerOn="False")
            return
        before = self.read("setccdtemperature")
        for step in (-5, 5):
            point = 0
            while -280 < point < 200:
                result = self.call("PUT", "setccdtemperature", SetCCDTemperature=point)
                if isinstance(result, AlpacaError):
                    self.flag(result.number == INVALID_VALUE, f"set point {point}: {result}")
                    break
                self.flag(abs(self.read("setccdtemperature") - point) < 1, f"set point {point}")
                point += step
            self.flag(-280 < point < 200, "any set point is accepted")
        self.works("setccdtemperature", SetCCDTemperature=before)
        for state in ("True", "False"):
            self.works("cooleron", CoolerOn=state)
            self.flag(self.read("cooleron") is (state == "True"), f"CoolerOn {state}")
        self.flag(0 <= self.read("coolerpower") <= 100, "CoolerPower")

    def refused_exposures(self):
        v = self.values
        for duration in (-1, v["exposuremax"] * 1.01 + 1):
            self.fails(INVALID_VALUE, "PUT", "startexposure", Duration=duration, Light="True")
        for bin in range(1, v["maxbinx"] + 1):
            width, height = v["cameraxsize"] // bin, v["cameraysize"] // bin
            for num_x, num_y, x, y in ((width + 1, height, 0, 0), (width, height + 1, 0, 0),
                                       (width, height, 1, 0), (width, height, 0, 1),
                                       (width, height, -1, 0), (0, height, 0, 0)):
                self.frame(bin, num_x, num_y, x, y)
                self.fails(INVALID_VALUE, "PUT", "startexposure", Duration=0.1, Light="True")

    def frame(self, bin, num_x, num_y, x=0, y=0):
        for name, value in (("BinX", bin), ("BinY", bin), ("NumX", num_x), ("NumY", num_y),
                            ("StartX", x), ("StartY", y)):
            self.works(name.lower(), **{name: value})

    def exposures(self):
        v = self.values
        for bin in range(1, v["maxbinx"] + 1):
            for light in ("True", "False"):
                width, height = v["cameraxsize"] // bin, v["cameraysize"] // bin
                self.frame(bin, width, height)
                self.expose(0.1 if bin > 1 else 0.3, light, width, height)
        self.frame(1, 2, 2)
        self.expose(0.01, "True", 2, 2)

    def expose(self, seconds, light, width, height):
        begun = time.time()
        if not self.works("startexposure", Duration=seconds, Light=light):
            return
        self.flag(self.read("imageready") is False, "ImageReady on return of StartExposure")
        self.flag(self.read("camerastate") == 2, "CameraState on return of StartExposure")
        self.fails(INVALID_OPERATION, "GET", "imagearray")
        while self.call("GET", "camerastate") != 0 and time.time() < begun + 60:
            self.flag(0 <= self.read("percentcompleted") <= 100, "PercentCompleted")
            for member in ("imageready", "ccdtemperature", "gain"):
                self.call("GET", member)
            time.sleep(0.01)
        self.flag(self.read("imageready") is True, "idle without an image")
        self.flag(math.isclose(self.read("lastexposureduration"), seconds, rel_tol=0.02),
                  "LastExposureDuration")
        start = self.read("lastexposurestarttime")
        fits = re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?", start)
        self.flag(fits and abs(self.seconds(start) - begun) < 5, f"LastExposureStartTime {start}")
        for member in ("imagearray", "imagearrayvariant"):
            answer = self.camera.answer("GET", member, ClientTransactionID=78)
            self.flag((answer["Type"], answer["Rank"]) == (2, 2), f"type and rank of {member}")
            columns = answer["Value"]
            self.flag((len(columns), {len(column) for column in columns}) == (width, {height}),
                      f"size of {member}")
            status, kind, body = self.camera.client.request(
                "GET", self.camera.path(member), "ClientTransactionID=79",
                {"Accept": "application/imagebytes"})
            image = Image(body)
            self.flag((status, kind, image.client) == (200, "application/imagebytes", 79),
                      f"binary form of {member}")
            self.flag(image.columns() == columns, f"the forms of {member} differ")
            self.flag(max(image.samples) <= self.read("maxadu"), "a sample is above MaxADU")

    @staticmethod
    def seconds(text):
        import calendar
        return calendar.timegm(time.strptime(text[:19], "%Y-%m-%dT%H:%M:%S"))

    def methods(self):
        v = self.values
        self.works("abortexposure")
        self.frame(1, v["cameraxsize"], v["cameraysize"])
        self.works("startexposure", Duration=10, Light="True")
        self.works("abortexposure")
        self.wait("camerastate", 0, 2)
        self.flag(self.read("imageready") is False, "ImageReady after AbortExposure")
        if not v["canstopexposure"]:
            self.fails(NOT_IMPLEMENTED, "PUT", "stopexposure")
        if v["canpulseguide"]:
            for direction in range(4):
                begun = time.monotonic()
                self.works("pulseguide", Direction=direction, Duration=200)
                self.flag(self.read("ispulseguiding") is True, "IsPulseGuiding during a pulse")
                self.wait("ispulseguiding", False, 10)
                self.flag(time.monotonic() - begun > 0.19, "a pulse is too short")
            for direction, duration in ((-1, 100), (4, 100), (0, -1)):
                self.fails(INVALID_VALUE, "PUT", "pulseguide", Direction=direction,
                           Duration=duration)

    def protocol(self):
        """What the strict mode asks of every member."""
        camera, client = self.camera, self.camera.client
        for member in {**PROPERTIES, **COMMON, "devicestate": list, "connecting": bool}:
            for query, wanted in (("", 200), ("clientid=1&CLIENTTRANSACTIONID=2", 200),
                                  ("Extra=1", 200), ("ClientID=", 400), ("ClientID=-1", 400),
                                  ("ClientTransactionID=abc", 400)):
                status, _, body = client.request("GET", camera.path(member), query)
                self.flag(status == wanted, f"GET {member}?{query}: {status}, not {wanted}")
                if wanted == 200 and "TRANS" in query:
                    self.flag(b'"ClientTransactionID":2,' in body, f"GET {member}?{query}")
            self.flag(client.request("GET", camera.path(member).upper())[0] == 400,
                      f"{member} in upper case")
        for body, wanted in (("Gain={}", 200), ("gain={}", 400), ("", 400), ("Gain=", 400),
                             ("Gain=x", 400), ("Gain={}&ClientID=x", 400),
                             ("Gain={}&clientid=x", 200)):
            status = camera.status("PUT", "gain", body.format(self.values["gain"]))
            self.flag(status == wanted, f"PUT gain {body}: {status}, not {wanted}")

    def everything(self):
        for part in (self.connections, self.common, self.properties, self.settings, self.cooler,
                     self.refused_exposures, self.exposures, self.methods, self.protocol):
            part()
        self.works("connected", Connected="False")
        self.fails(NOT_CONNECTED, "GET", "camerastate")
        slow = ", ".join(f"{what} {took * 1000:.1f} ms" for took, what in self.slowest.values())
        print(f"{self.checks} checks, {len(self.flags)} flagged; slowest answers: {slow}")
        return 1 if self.flags else 0


def main():
    arguments = [word for word in sys.argv[1:] if word != "--times"]
    limits = (0.1, 1) if "--times" in sys.argv else (2, 10)
    if arguments[0].startswith("http"):
        port = urllib.parse.urlparse(arguments[0]).port
        return Run(Camera(Client(port), int(arguments[1])), *limits).everything()
    server = Server(arguments[0], arguments[1])
    try:
        # Twice: the second run finds the camera as the first one has left it.
        return max(Run(server.camera(""), *limits).everything() for _ in range(2))
    finally:
        server.close()


if __name__ == "__main__":
    sys.exit(main())
