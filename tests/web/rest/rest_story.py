#!/usr/bin/env python3
"""Programs of others talk to the REST interface: rest_story.py HOST PAGE

HOST is StoryHost.cpp's program, PAGE the example's page for a browser. curl reads and writes, the distribution's
WebSocket client subscribes to every type of value, Pillow looks at pictures, and a headless Chromium opens the page. All
traffic stays on the loopback interface.
"""
import asyncio
import base64
import io
import json
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import time

import websockets
from PIL import Image

PATIENCE = 120  # seconds; a limit for failures only
TEXT = ["string", "json", "xml"]


def local(seconds):
    now = time.localtime(seconds)
    return f"{time.strftime('%a %b', now)} {now.tm_mday} {time.strftime('%H:%M:%S %Y', now)}"


# Node, type of its slots, formats, text of the first and of the second value.
SINGLES = [
    ("bool", "bool", TEXT, "1", "0"),
    ("long", "int", TEXT, "1099511627776", "-2"),
    ("float", "float", TEXT, "0.100000001", "-1.5"),
    ("double", "double", TEXT, "0.10000000000000001", "1.0000000000000001e+300"),
    ("string", "invalid", [], 'one "text"', "gr\u00fc\u00df"),
    ("time", "double", TEXT, local(0), local(1e9)),
    ("color", "float3", TEXT, "1 0.5 0", "0 0 1"),
    ("color4", "float4", TEXT, "1 0.5 0 1", "0 0 1 0"),
    ("rotation", "float4", ["string"], "1 2 3 4", "0 0 0 1"),
    ("vec2f", "float2", TEXT, "1 2", "3 4"),
    ("vec2d", "double2", TEXT, "1 2", "3 4"),
    ("vec3f", "float3", TEXT, "1 2 3", "4 5 6"),
    ("vec3d", "double3", TEXT, "1 2 3", "4 5 6"),
    ("vec4f", "float4", TEXT, "1 2 3 4", "5 6 7 8"),
    ("vec4d", "double4", TEXT, "1 2 3 4", "5 6 7 8"),
    ("matrix3f", "fmat3", TEXT, "1 0 0 0 1 0 0 0 1", "1 2 3 4 5 6 7 8 9"),
    ("matrix3d", "dmat3", TEXT, "1 0 0 0 1 0 0 0 1", "1 2 3 4 5 6 7 8 9"),
    ("matrix4f", "fmat", TEXT, "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16"),
    ("matrix4d", "dmat", TEXT, "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16"),
]
NO_LISTS = ("long", "rotation", "matrix3f", "matrix3d", "matrix4f", "matrix4d")


def element(node, text):
    """As it stands in a list: of four components three are left."""
    return " ".join(text.split(" ")[:3]) if node in ("vec4f", "vec4d") else text


LISTS = [(node + "s", kind, formats, element(node, first) + ", " + element(node, second), element(node, second))
         for node, kind, formats, first, second in SINGLES if node not in NO_LISTS] + [
    ("longs", "int", TEXT, "1, -2", ""), ("images", "jpg", ["png", "string"], "", ""),
    ("matrix4fs", "fmat", TEXT, "", ""), ("matrix4ds", "dmat", TEXT, "", "")]
ALL = [(*row, "single") for row in SINGLES] + [(*row, "multi") for row in LISTS]
NODES = sorted([row[0] for row in ALL] + ["-1", "12", "image", "parent", "plain", "web"])


def node_json(label, attributes='"In", "Out"'):
    return (f'{{\n  "id": "{label}",\n  "type": "Node",\n  "length": 1,\n  "cardinality": "single",\n'
            f'  "attributes": [\n    {attributes}\n  ],\n  "relations": [ "routes" ],\n  "input": [ ],\n'
            '  "output": [ ]\n}\n')


NODE = node_json("vec3f")
NODE_XML = ('<Element id="vec3f" type="Node" length="1" cardinality="single">\n  <Attributes>\n    "In", "Out"\n'
            '  </Attributes>\n  <Relations>"Routes"</Relations>\n  <Input></Input>\n  <Output></Output>\n</Element>\n')
OUT = ('{\n  "name": "Out",\n  "type": "float3",\n  "length": 1,\n  "cardinality": "single",\n  "input": [  ],\n'
       '  "output": [ "float3", "string", "json", "xml" ]\n}\n')
IN_XML = ('<Attribute name="In" type="float3" length="1" cardinality="single">  <Input>\n'
          '    "float3", "string", "json", "xml"\n  </Input>\n  <Output>\n    \n  </Output>\n</Attribute>')
OUT_XML = ('<Attribute name="Out" type="float3" length="1" cardinality="single">  <Input>\n    \n  </Input>\n  <Output>\n'
           '    "float3", "string", "json", "xml"\n  </Output>\n</Attribute>')
VEC = str(NODES.index("vec3f"))
PARENT = str(NODES.index("parent"))
# Text of a reply of the status 200, and the paths that are answered with it.
GRAMMAR = [
    (NODE, ["vec3f", "VEC3F", "vec3f/", "vec3f.json", "vec3f.JSON", "v%65c3f", VEC, f"+{VEC}.json", "0" + VEC,
            "/Vantiflux/address/vec3f", f"/Vantiflux/address/{VEC}/", "/Vantiflux//element/vec3f"]),
    (NODE_XML, ["vec3f.xml", "vec3f.XML", VEC + ".xml", "/Vantiflux/address/vec3f.xml"]),
    (OUT, ["vec3f/Out", "vec3f/Out/", "vec3f/Out.json", "vec3f/Out/desc", "vec3f/Out/desc.json", "vec3f/1",
           f"{VEC}/01/desc", "vec3f/+1.json", "vec3f/O%75t", "vec3f/Out.json/whatever", "/Vantiflux/address/vec3f/Out"]),
    (OUT_XML, ["vec3f/Out.xml", "vec3f/Out/desc.xml", "vec3f/Out.xml/foo", "vec3f/1/desc.xml"]),
    (IN_XML, ["vec3f/In.xml", "vec3f/In/desc.xml", "vec3f/0.xml"]),
    ("", ["vec3f.html", "vec3f/Out.html", "vec3f/Out/desc.html", "parent/Leaf.one", "vec3f/Out?Accept=x",
          "vec3f/Out/data", "rotation/Out/data", "double/Out/data", "image/Out/data", "image/Out/data.jpg", "image/Out/data.png",
          "images/Out/data.jpg"]),
    ("1 2 3", ["vec3f/Out/data.string", "vec3f/Out/data.STRING", f"{VEC}/1/data.string", "vec3f/Out/data.string/",
               "/Vantiflux/address/vec3f/Out/data.string"]),
    # The walk ends at a node without children. A component that names no child is stepped over.
    ("7", ["parent/Leaf.one/Out/data.string", "PARENT/LEAF%2Eone/Out/data.string", PARENT + "/0/Out/data.string"]),
    ("1", ["parent/nothing/Out/data.string", "parent/17/Out/data.string", "parent/-1/Out/data.string"]),
    (node_json("parent", '"In", "Leaf.one/In", "Out", "Leaf.one/Out"'), ["parent", "parent/Out", "parent/nothing/"]),
    (node_json("-1"), ["-1", "0"]),
    (node_json(NODES[12]), ["12"]),
    ("127.0.0.1", ["Web/Address/data", "Web/Address/data.string"]),
]
REFUSED = ["", "/Vantiflux/element//", ".", "..", "nothing", "999", "-2", "2147483648", "plain", "plain/Out", "%zz", "%00",
           "vec3f%00", "vec3f/out", "vec3f/2", "vec3f/-1", "vec3f/99999999999999999999", "vec3f/-18446744073709551615", "vec3f/%00",
           "vec3f/Out/foo", "vec3f/Out/Data", "vec3f/Out/data.foo", "vec3f/In/data", "vec3f/In/data.string",
           "vec3f/data/data", "longs/Out/data", "bools/Out/data.int", "string/Out/data.string", "Web/Address/data.json",
           "image/Out/data.jpeg", "image/Out/data.json", "image/Out/data.xml", "rotation/Out/data.json",
           "rotation/Out/data.xml", "/Vantiflux", "/Vantiflux/", "/Vantiflux/element", "/Vantiflux/element/",
           "/Vantiflux/Element/vec3f", "/Vantiflux/value/vec3f", "/other/Vantiflux", "/vantiflux/element/Vantiflux",
           "//Vantiflux/element/vec3f"]
KEEP = ["--http1.0", "--header", "Connection: KEEP-alive"]
# Path, what curl is told besides, status, text, and "Connection" of the reply.
METHODS = [
    ("/x/Vantiflux", ["--request", "OPTIONS"], 200, "", "close"),
    ("float/In", ["--request", "PUT"], 200, "", "Keep-Alive"),
    ("float/In", ["--request", "PATCH"], 200, "", "Keep-Alive"),
    ("float/nothing", ["--request", "PUT"], 406, "", "Keep-Alive"),
    ("float", ["--head"], 200, "", "Keep-Alive"),
    ("float", ["--request", "DELETE"], 200, "", "Keep-Alive"),
    ("float/Out", ["--request", "DELETE"], 200, "", "Keep-Alive"),
    ("parent/0", ["--request", "DELETE"], 406, "", "Keep-Alive"),
    ("double/Out/data.string", ["--http1.0"], 200, "0.10000000000000001", "close"),
    ("double/Out/data.string", KEEP, 200, "0.10000000000000001", "Keep-Alive"),
    ("double/Out/data.string", ["--header", "Connection: Close"], 200, "0.10000000000000001", "close"),
    ("double/Out/data.string", ["--header", "Connection: whatever"], 200, "0.10000000000000001", "Keep-Alive"),
]
# Slot, text, and what the node passes on then; None where the text is refused.
WRITTEN = [
    ("float/In/data", "2.5", "2.5"), ("float/0", "1e-50", "0"), ("float/In", "1e50", None), ("float/In/desc", "", None),
    ("double/In", "-1e-3", "-0.001"), ("double/In", "-1e-400", "-0"), ("double/In", "2,5", None),
    ("bool/In/data", "0", "0"), ("bool/In/data", "true", None), ("bool/In", "+1", None), ("long/In", "-7", "-7"),
    ("long/In?x=y", "+8", "8"), ("long/In", "1.234", None), ("vec3f/In", "7 8 9", "1 2 3"), ("float/Out", "x", "0"),
    ("image/In", "no picture", None),
]


def equal(found, wanted, what):
    if found != wanted:
        raise AssertionError(f"{what}: {found!r} in place of {wanted!r}")


class Host:
    def __init__(self, program):
        self.process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = int(self.read_until(str.isdigit))
        self.base = f"127.0.0.1:{self.port}/Vantiflux/element/"

    def do(self, order):
        self.process.stdin.write(order + "\n")
        self.process.stdin.flush()
        self.read_until(lambda line: line == "done")

    def read_until(self, condition):
        for line in self.process.stdout:
            if condition(line.rstrip("\n")):
                return line
        raise AssertionError("the host has ended")

    def curl(self, tail, *arguments):
        """Status, body and headers of a reply to a path, or to what stands behind "element/" in one."""
        url = f"http://127.0.0.1:{self.port}{tail}" if tail.startswith("/") else "http://" + self.base + tail
        done = subprocess.run(["curl", "--silent", "--noproxy", "*", "--max-time", str(PATIENCE), "--include",
                               "--path-as-is", *arguments, url], capture_output=True, check=True)
        head, _, body = done.stdout.partition(b"\r\n\r\n")
        while head.split()[1] == b"100":
            head, _, body = body.partition(b"\r\n\r\n")
        headers = dict(line.split(": ", 1) for line in head.decode().split("\r\n")[1:])
        return int(head.split()[1]), body, headers

    def text(self, tail, *arguments):
        status, body, _ = self.curl(tail, *arguments)
        equal(status, 200, tail)
        return body.decode()


def read_with_curl(host):
    described = [(*row, True) for row in ALL] + [("image", "jpg", ["png", "string"], None, None, "single", False)]
    for node, kind, formats, first, _, cardinality, has_text in described:
        length = 1 if cardinality == "single" else 0
        if kind == "invalid":
            length, cardinality = 0, "single"
            equal(host.text(node).split("[")[1].split("]")[0], "\n    \n  ", "attributes that can be asked for")
        known = {"type": kind, "length": length, "cardinality": cardinality}
        for name, put, taken in [("In", [kind] + formats, []), ("Out", [], [kind] + formats)]:
            equal(json.loads(host.text(f"{node}/{name}")), {"name": name, **known, "input": put, "output": taken}, node)
        if "string" in formats and has_text:
            equal(host.text(f"{node}/Out/data.string"), first, node)
        if "json" in formats:
            equal(host.text(f"{node}/Out/data.json"), f'{{\n  "value" : [ "{first}"]\n}}\n', node)
            equal(host.text(f"{node}/Out/data.xml"), f"<Value>{first}</Value>\n", node)
    for node, form, wanted in [("float", "f", [0.1]), ("floats", "2f", [0.1, -1.5]), ("long", "q", [1 << 40])]:
        _, body, headers = host.curl(node + "/Out/data")
        equal(body, struct.pack(form, *wanted), "bytes of " + node)
        equal((headers["Content-Type"], headers["Access-Control-Allow-Origin"]), ("text/plain", "*"), node)


def walk_with_curl(host):
    for text, tails in GRAMMAR:
        for tail in tails:
            equal(host.text(tail), text, tail)
    for tail in REFUSED:
        status, body, headers = host.curl(tail)
        equal((status, body, headers.keys() & {"Content-Type", "Access-Control-Allow-Origin"}), (406, b"", set()), tail)
    for tail, arguments, status, text, connection in METHODS:
        found, body, headers = host.curl(tail, *arguments)
        equal((found, body.decode(), headers["Connection"]), (status, text, connection), f"{tail} {arguments}")
        equal((headers["Content-Length"], "Date" in headers), (str(len(text)), True), f"{tail} {arguments}")
    headers = host.curl("/Vantiflux", "--request", "OPTIONS")[2]
    equal([headers["Access-Control-Allow-" + name] for name in ("Origin", "Methods", "Headers")],
          ["*", "GET, PUT, POST, DELETE, OPTIONS", "X-Accept-Encoding"], "what other sites may do")
    equal(b"Web Interface" in host.curl("/index.html")[1], True, "other paths are pages")
    equal(host.curl("", "--request-target", "Vantiflux/element/vec3f")[0], 406, "a path without a root")
    many = subprocess.run(["curl", "--silent", "--noproxy", "*", "--write-out", " %{num_connects}\n", "--output", "-",
                           f"http://{host.base}vec3f/Out/data.string#[1-101]"], capture_output=True, check=True)
    equal(many.stdout.decode(), "1 2 3 1\n" + "1 2 3 0\n" * 99 + "1 2 3 1\n", "a connection for a hundred requests")


def write_with_curl(host):
    for tail, text, back in WRITTEN:
        status = host.curl(tail, "--data-binary", text)[0]
        equal(status, 406 if back is None else 200, f"{tail} {text}")
        if back is not None:
            equal(host.text(tail.split("/")[0] + "/Out/data.string"), back, f"{tail} {text}")
    equal(host.curl("string/In/data", "--data-binary", "a b")[0], 200, "a string")
    chunked = ["--header", "Transfer-Encoding: chunked", "--data-binary", "9"]
    equal(host.curl("long/In", *chunked)[0], 406, "a body whose length is not told")
    equal(host.text("long/Out/data.string"), "8", "what it has written")
    equal(host.curl("long/In", "--header", "Content-Length: 99999999", "--request", "POST")[0], 413, "a long body")


def send_a_picture(host):
    original = Image.new("RGB", (320, 200))
    original.putdata([(x * 255 // 320, y * 255 // 200, 255 - x * 255 // 320) for y in range(200) for x in range(320)])
    file = io.BytesIO()
    original.save(file, "JPEG", quality=95)
    with tempfile.NamedTemporaryFile() as body:
        body.write(base64.encodebytes(file.getvalue()))
        body.flush()
        equal(host.curl("image/In/data", "--data-binary", "@" + body.name)[0], 200, "the picture")
    back = Image.open(io.BytesIO(base64.b64decode(host.text("image/Out/data.string"), validate=True)))
    back.load()
    equal((back.format, back.size, back.mode), ("JPEG", original.size, "RGB"), "the picture that comes back")
    equal(tuple(back.layer[0][1:3]), (2, 2), "how much finer its luminance is")
    pairs = zip(original.tobytes(), back.tobytes())
    distance = sum(abs(a - b) for a, b in pairs) / len(original.tobytes())
    if distance > 3:
        raise AssertionError(f"the picture has changed by {distance}")


async def subscribe_to_all(host):
    async def open_one(tail):
        return await websockets.connect("ws://" + host.base + tail, max_size=None, open_timeout=PATIENCE,
                                        ping_interval=None)

    async def receive(socket):
        return await asyncio.wait_for(socket.recv(), PATIENCE)

    host.do("first")
    sockets = [(row, await open_one(row[0] + "/Out/data.string")) for row in ALL]
    for (node, _, _, first, _, _), socket in sockets:
        equal(await receive(socket), first, node)
    host.do("second")
    for (node, _, _, _, second, _), socket in sockets:
        equal(await receive(socket), second, node)
    pictures = await open_one("image/Out/data.string")
    Image.open(io.BytesIO(base64.b64decode(await receive(pictures)))).load()

    for node, text in [("float", "3"), ("double", "4"), ("bool", "1"), ("long", "5"), ("string", "\u00e4 b")]:
        reader = next(socket for row, socket in sockets if row[0] == node)
        writer = await open_one(node + "/In/data.string")
        await writer.send("nonsense" if node != "string" else "")
        await writer.send(text)
        found = await receive(reader)
        if node == "string" and found == "":
            found = await receive(reader)
        equal(found, text, node)
        await writer.close()

    counter = next(socket for row, socket in sockets if row[0] == "long")

    async def read_until_last():
        while await receive(counter) != "10000":
            pass

    await asyncio.gather(asyncio.to_thread(host.do, "burst 10000"), read_until_last())
    await (await counter.ping())  # and it has come back
    field = await open_one("Web/Address/data")
    equal(await receive(field), "127.0.0.1", "a field")
    return [socket for _, socket in sockets]


def open_the_page(host, page):
    from selenium import webdriver
    from selenium.webdriver.chrome.options import Options
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.support.ui import WebDriverWait

    profile = tempfile.mkdtemp(prefix="vantiflux_rest_")
    options = Options()
    options.binary_location = shutil.which("chromium")
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-default-apps", "--disable-extensions", "--no-proxy-server",
                     "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1", "--user-data-dir=" + profile):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    try:
        browser.set_script_timeout(PATIENCE)

        def shows(text):
            WebDriverWait(browser, PATIENCE).until(
                lambda _: browser.find_element("id", "value").text == text, f"{text!r} on the page")

        browser.get(f"{pathlib.Path(page).resolve().as_uri()}?server=127.0.0.1:{host.port}&slot=vec3f/Out")
        host.do("first")
        shows("1 2 3")
        host.do("second")
        shows("4 5 6")
        equal(browser.get_log("browser"), [], "the browser's console")
        # A script of another site writes: the preflight is answered, and so is the request.
        status = browser.execute_async_script(
            "const done = arguments[0];"
            f"fetch('http://{host.base}float/In', {{method: 'POST', body: '8', headers: {{'X-Accept-Encoding': 'x'}}}})"
            ".then(reply => done(reply.status), problem => done(String(problem)))")
        equal(status, 200, "POST from a page")
        equal(host.text("float/Out/data.string"), "8", "what the page wrote")
    finally:
        browser.quit()
        shutil.rmtree(profile, ignore_errors=True)


async def tell(host, page):
    read_with_curl(host)
    walk_with_curl(host)
    write_with_curl(host)
    send_a_picture(host)
    sockets = await subscribe_to_all(host)
    await asyncio.to_thread(open_the_page, host, page)
    # The host ends while all of them are connected.
    host.process.stdin.close()
    equal(await asyncio.to_thread(host.process.wait, PATIENCE), 0, "the host's end")
    for socket in sockets:
        await asyncio.wait_for(socket.wait_closed(), PATIENCE)


def main():
    host = Host(sys.argv[1])
    try:
        asyncio.run(tell(host, sys.argv[2]))
    finally:
        host.process.kill()
        host.process.wait()


main()
