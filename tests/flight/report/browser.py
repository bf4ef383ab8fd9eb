"""Drives a headless Chromium through a pair of pipes, by its DevTools messages."""

import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time


class Browser:
    """One browser with one page. `with Browser() as browser: ...` ends it, too."""

    WAIT = 30.0  # seconds for an answer or a page

    def __init__(self):
        self._profile = tempfile.mkdtemp(prefix="page-")
        from_us, self._out = os.pipe()
        self._in, to_us = os.pipe()
        command = ["chromium", "--headless=new", "--remote-debugging-pipe", "--disable-gpu", "--no-first-run",
                   "--disable-background-networking", "--disable-dev-shm-usage", "--force-color-profile=srgb",
                   f"--user-data-dir={self._profile}", "about:blank"]
        if os.geteuid() == 0:
            command.insert(1, "--no-sandbox")  # root has no sandbox; the page is our own

        def pipes():  # the browser reads from 3 and writes to 4
            ours, theirs = os.dup(from_us), os.dup(to_us)
            os.dup2(ours, 3)
            os.dup2(theirs, 4)

        self._process = subprocess.Popen(command, preexec_fn=pipes, close_fds=False, start_new_session=True,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(from_us)
        os.close(to_us)
        self._buffer = b""
        self._last = 0
        self._session = None
        self.complaints = []  # what the page wrote to the console as an error, or threw
        self._events = set()
        target = self.send("Target.createTarget", url="about:blank")["targetId"]
        self._session = self.send("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self.send(f"{domain}.enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            self._session = None
            self.send("Browser.close")
        except OSError:
            pass
        try:
            self._process.wait(5)
        except subprocess.TimeoutExpired:
            self._process.kill()
        shutil.rmtree(self._profile, ignore_errors=True)

    def _read(self, until):
        while b"\0" not in self._buffer:
            if not select.select([self._in], [], [], max(0.0, until - time.monotonic()))[0]:
                raise OSError("the browser does not answer")
            part = os.read(self._in, 1 << 16)
            if not part:
                raise OSError("the browser has ended")
            self._buffer += part
        text, self._buffer = self._buffer.split(b"\0", 1)
        return json.loads(text)

    def _note(self, message):
        method, params = message.get("method"), message.get("params", {})
        self._events.add(method)
        if method == "Runtime.exceptionThrown":
            details = params["exceptionDetails"]
            self.complaints.append(details.get("exception", {}).get("description", details["text"]))
        elif method == "Runtime.consoleAPICalled" and params["type"] in ("error", "assert", "warning"):
            self.complaints.append(" ".join(str(a.get("value", a.get("description"))) for a in params["args"]))
        elif method == "Log.entryAdded" and params["entry"]["level"] in ("error", "warning"):
            self.complaints.append(params["entry"]["text"])

    def send(self, method, **params):
        self._last += 1
        number = self._last
        message = {"id": number, "method": method, "params": params}
        if self._session:
            message["sessionId"] = self._session
        os.write(self._out, json.dumps(message).encode() + b"\0")
        until = time.monotonic() + self.WAIT
        while True:
            answer = self._read(until)
            if answer.get("id") != number:
                self._note(answer)
            elif "error" in answer:
                raise OSError(f"{method}: {answer['error']['message']}")
            else:
                return answer["result"]

    def open(self, path, width, height=900):
        """Shows a file, and waits until all of it is there."""
        self.send("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.send("Emulation.setScrollbarsHidden", hidden=True)
        self._events.clear()
        self.send("Page.navigate", url="file://" + os.path.abspath(path))
        until = time.monotonic() + self.WAIT
        while "Page.loadEventFired" not in self._events:
            self._note(self._read(until))
        self.settle()

    def scheme(self, name):
        self.send("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": name}])
        self.settle()

    def settle(self):
        """Waits until two frames are drawn."""
        self.run("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)))")

    def run(self, expression):
        """The value of a script in the page."""
        answer = self.send("Runtime.evaluate", expression=expression, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in answer:
            raise OSError(answer["exceptionDetails"].get("exception", {}).get("description", expression))
        return answer["result"].get("value")

    def screenshot(self, path):
        """A picture of the whole page."""
        size = self.send("Page.getLayoutMetrics")["cssContentSize"]
        clip = {"x": 0, "y": 0, "width": size["width"], "height": size["height"], "scale": 1}
        picture = self.send("Page.captureScreenshot", captureBeyondViewport=True, clip=clip)
        with open(path, "wb") as file:
            file.write(base64.b64decode(picture["data"]))
