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
    ("longs", "int", TEXT, "1, -2", "")]
ALL = [(*row, "single") for row in SINGLES] + [(*row, "multi") for row in LISTS]


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
        """Status and body of a reply."""
        done = subprocess.run(["curl", "--silent", "--noproxy", "*", "--max-time", str(PATIENCE), "--write-out",
                               "%{http_code}", *arguments, "http://" + self.base + tail], capture_output=True, check=True)
        return int(done.stdout[-3:]), done.stdout[:-3]

    def text(self, tail, *arguments):
        status, body = self.curl(tail, *arguments)
        equal(status, 200, tail)
        return body.decode()


def read_with_curl(host):
    for node, kind, formats, first, _, cardinality in ALL:
        length = 1 if cardinality == "single" else 0
        if kind == "invalid":
            length, cardinality = 0, "single"
        described = json.loads(host.text(f"{node}/Out"))
        equal(described, {"name": "Out", "type": kind, "length": length, "cardinality": cardinality, "input": [],
                          "output": [kind] + formats}, node)
        if "string" in formats:
            equal(host.text(f"{node}/Out/data.string"), first, node)
        if "json" in formats:
            equal(json.loads(host.text(f"{node}/Out/data.json")), {"value": [first]}, node)
            equal(host.text(f"{node}/Out/data.xml"), f"<Value>{first}</Value>\n", node)
    equal(struct.unpack("f", host.curl("float/Out/data")[1])[0], struct.unpack("f", struct.pack("f", 0.1))[0], "bytes")
    equal(struct.unpack("2f", host.curl("floats/Out/data")[1])[1], -1.5, "bytes of a list")
    equal(struct.unpack("q", host.curl("long/Out/data")[1])[0], 1 << 40, "bytes of an integer")
    equal(host.curl("long/Out/data", "--head")[0], 200, "HEAD")
    equal(host.curl("long/Out/data.png")[0], 406, "an unknown format")


def write_with_curl(host):
    for node, text, back in [("float", "2.5", "2.5"), ("double", "-1e-3", "-0.001"), ("bool", "0", "0"),
                             ("long", "-7", "-7"), ("string", "a b", None)]:
        equal(host.curl(f"{node}/In/data", "--data-binary", text)[0], 200, node)
        if back is not None:
            equal(host.text(f"{node}/Out/data.string"), back, node)
    equal(host.curl("bool/In", "--data-binary", "true")[0], 406, "a word for a bool")
    equal(host.curl("vec3f/In", "--data-binary", "7 8 9")[0], 200, "a vector")
    equal(host.text("vec3f/Out/data.string"), "1 2 3", "a vector has no way in")


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
        return await websockets.connect("ws://" + host.base + tail, max_size=None, open_timeout=PATIENCE)

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

    host.do("burst 100000")
    counter = next(socket for row, socket in sockets if row[0] == "long")
    while await receive(counter) != "100000":
        pass
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
