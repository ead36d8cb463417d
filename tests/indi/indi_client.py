"""A small INDI client: XML over TCP, enough to set properties and to take images."""
import base64
import socket
import time
import xml.etree.ElementTree as xml

LIMIT = 40  # seconds that nothing may take, on a busy machine


class Property:
    """A vector as it was sent last."""

    def __init__(self, element):
        self.kind = element.tag[3:-6]  # "Number" of "defNumberVector"
        self.attributes = {}
        self.members = {}
        self.limits = {}
        self.count = 0  # how often it was sent

    def update(self, element):
        self.count += 1
        self.attributes.update(element.attrib)
        for member in element:
            name = member.get("name")
            if self.kind == "BLOB":
                continue
            text = (member.text or "").strip()
            self.members[name] = float(text) if self.kind == "Number" else text
            if "min" in member.attrib:
                self.limits[name] = (float(member.get("min")), float(member.get("max")))

    @property
    def state(self):
        return self.attributes.get("state")


class Client:
    def __init__(self, port, blobs="Never"):
        self.socket = socket.create_connection(("localhost", port), LIMIT)
        self.parser = xml.XMLPullParser(["start", "end"])
        self.parser.feed("<stream>")
        self.root = None
        self.depth = 0
        self.devices = {}
        self.blobs = []  # (device, format, bytes)
        self.messages = []
        self.blob_mode = blobs
        self.send('<getProperties version="1.7"/>')

    def close(self):
        self.socket.close()

    def send(self, text):
        self.socket.sendall(text.encode())

    def want_blobs(self, device, mode="Also"):
        self.send(f'<enableBLOB device="{device}">{mode}</enableBLOB>')

    def set(self, device, name, **members):
        """Sets members of a property; their kind is that of the property."""
        kind = self.get(device, name).kind
        body = "".join(f'<one{kind} name="{member.replace("__", " ")}">{value}</one{kind}>'
                       for member, value in members.items())
        self.send(f'<new{kind}Vector device="{device}" name="{name}">{body}</new{kind}Vector>')

    def put(self, device, name, state="Ok", **members):
        """Sets members and waits until the driver has answered with this state."""
        before = self.get(device, name).count

        def answered(one=self.get(device, name)):
            return one.count > before and one.state == state
        self.set(device, name, **members)
        self.wait(answered, f"{name} {members} becomes {state}")

    def get(self, device, name):
        """A property; waits until there is one."""
        self.wait(lambda: name in self.devices.get(device, {}), f"{device} has {name}")
        return self.devices[device][name]

    def has(self, device, name):
        return name in self.devices.get(device, {})

    def value(self, device, name, member):
        return self.get(device, name).members[member]

    def wait_for(self, device, name, condition, what="", limit=LIMIT):
        """Waits until a condition holds for a property."""
        self.wait(lambda: self.has(device, name) and condition(self.devices[device][name]),
                  f"{device} {name} {what}", limit)

    def wait_message(self, text):
        self.wait(lambda: any(text in message for message in self.messages), f"message {text!r}")

    def wait(self, condition, what, limit=LIMIT):
        deadline = time.monotonic() + limit
        while not condition():
            left = deadline - time.monotonic()
            if left <= 0:
                raise AssertionError(f"not in time: {what}; messages: {self.messages[-5:]}")
            self.pump(min(left, 0.5))

    def pump(self, seconds):
        """Takes what the server has sent, waiting so long for the first of it."""
        self.socket.settimeout(max(seconds, 0.001))
        try:
            data = self.socket.recv(1 << 20)
        except socket.timeout:
            return
        if not data:
            raise AssertionError("the server has closed the connection")
        self.parser.feed(data)
        for event, element in self.parser.read_events():
            self.depth += 1 if event == "start" else -1
            if event == "start" and self.root is None:
                self.root = element
            elif event == "end" and self.depth == 1:
                self.take(element)
                self.root.clear()

    def take(self, element):
        device, name = element.get("device"), element.get("name")
        if element.get("message"):
            self.messages.append(element.get("message"))
        if element.tag == "delProperty":
            if name:
                self.devices.get(device, {}).pop(name, None)
            else:
                self.devices.pop(device, None)
        elif element.tag == "setBLOBVector":
            for member in element:
                self.blobs.append((device, member.get("format"),
                                   base64.b64decode(member.text or "")))
        if element.tag.endswith("Vector"):
            known = self.devices.setdefault(device, {})
            if element.tag.startswith("def"):
                known.setdefault(name, Property(element))
            if name in known:
                known[name].update(element)

    def next_blob(self, what="an image", limit=LIMIT):
        self.wait(lambda: self.blobs, what, limit)
        return self.blobs.pop(0)
