#!/usr/bin/env python3
"""Prints through portwise.dll under Wine, and the same jobs through the Linux target, and compares what comes of them:
host.py LINUX-BIN WINDOWS-BIN. The printers are simulated ones, of the Linux side. Wine's prefix is the caller's.

Each check ends in a line "passed", "failed" or "not run", its name and a text, parted by tabs; what Wine has no way to is
not run."""

import contextlib
import json
import os
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import traceback

LINUX = pathlib.Path(sys.argv[1]).resolve()
WINDOWS = pathlib.Path(sys.argv[2]).resolve()
SCRIPTS = pathlib.Path(__file__).resolve().parent.parent
SYSTEM = pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c/windows/system32"
DUMPS = pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c/ProgramData/Corvane/Drivers/Dump"
IS_64 = "x64" in WINDOWS.parent.name
MONITORED = {
    "Status/Status Monitoring Mode": "2",
    "Status/Verify Job Complete": "true",
    "Status/Verify Page Complete": "true",
    "Status/Active Polling Interval": "100",
    "Status/Idle Polling Interval": "200",
    "Status/Advanced Status Comment": "true",
}

NOT_RUN = {
    "the job's status in the spooler": "Wine's spooler takes nothing of a job but commands, and does nothing for those",
    "the printer's status word": "Wine's spooler has no status of printers",
    "requests through the spooler, from other programs": "Wine's spooler asks no monitor for printer data; the host asks"
    " the monitor for what the spooler would, and other programs ask over HTTP",
    "the number of jobs in the queue, deletion while a job prints": "Wine's spooler counts none and keeps no such state",
    "a job's user and computer": "Wine's spooler does not keep them",
    "printers by their share names": "Wine's spooler lists no printers that are shared",
    "entries of the event log, once written": "Wine's event log keeps none; what is written to it is read from its trace",
    "an overflow of the stack": "Wine raises it when less than a page is left, whatever SetThreadStackGuarantee asked for",
}


LONGEST_TEXT = 400


class Wrong(Exception):
    """What a check has found."""


def expect(found, wanted, what):
    if found != wanted:
        raise Wrong(f"{what}: {found!r} instead of {wanted!r}")


def await_that(condition, what, seconds=30):
    end = time.monotonic() + seconds
    while not (value := condition()):
        if time.monotonic() > end:
            raise Wrong(f"in vain waited for {what}")
        time.sleep(0.05)
    return value


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


class Printer:
    """A simulated printer."""

    def __init__(self, folder, *options):
        self.folder = folder
        folder.mkdir()
        self.process = subprocess.Popen([LINUX / "portwise-printer", "--record", folder, *options],
                                        stdout=subprocess.PIPE, text=True)
        words = self.process.stdout.readline().split()
        if len(words) != 3:
            raise Wrong(f"the printer {folder.name} does not start")
        self.port, self.control = int(words[1]), int(words[2])

    def order(self, text):
        with socket.create_connection(("127.0.0.1", self.control), 10) as control:
            control.sendall(text.encode() + b"\n")
            return control.makefile().readline()

    def files(self):
        return [path.read_bytes() for path in sorted(self.folder.glob("*.prn"))]

    def received(self):
        self.order("wait-idle")
        return b"".join(self.files())

    def end(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()


class LinuxSide:
    """The spooler host and the command line."""

    def __init__(self, folder, http):
        self.folder = folder
        self.environment = {**os.environ, "PORTWISE_HOME": str(folder), "PORTWISE_COMPUTER_NAME": "LINUX"}
        self.run("registry", "set", "--type", "dword", "LOCAL:Network/@LINUX/TCP Port", str(http))
        self.run("registry", "set", "--type", "bool", "LOCAL:Network/@LINUX/Network Communication", "false")
        self.process = subprocess.Popen([LINUX / "portwise-spooler"], stdout=subprocess.PIPE, text=True,
                                        env=self.environment)
        expect(self.process.stdout.readline(), "ready\n", "the spooler says")

    def run(self, *arguments, program="portwise"):
        done = subprocess.run([LINUX / program, *arguments], env=self.environment, capture_output=True, timeout=60)
        if done.returncode != 0:
            raise Wrong(f"{program} {' '.join(map(str, arguments))}: {done.stderr.decode()}")
        return done.stdout.decode()

    def add(self, name, port, settings=None, data_file=None):
        self.run("port", "add", f"port-{name}", "--tcp", f"127.0.0.1:{port}")
        driver = ["--driver", LINUX / "reference.dll", "--data-file", data_file] if data_file else []
        chosen = [word for path, value in (settings or {}).items() for word in ("--setting", f"{path}={value}")]
        self.run("printer", "add", name, "--port", f"port-{name}", *driver, *chosen)
        self.run("log", "add", name, "jobs", "--dir", self.folder.parent / "linux-logs" / name, "--fields",
                 "JobName,PrinterName,Port,PageCount,Size,Warnings,Errors,Status")

    def settings(self, name):
        """What the registry holds of a printer, as a file that others read."""
        return self.run("registry", "export", f"PRINT:Printers/{name}/PrinterDriverData", "--utf8").lstrip("\ufeff")

    def print(self, name, job, document):
        self.run("print", name, job, "--name", document)

    def jobs(self):
        return json.loads(self.run("jobs", "--json"))

    def await_end(self, seconds=60):
        await_that(lambda: not self.jobs(), "the end of the jobs on Linux", seconds)

    def log(self, name):
        return (self.folder.parent / "linux-logs" / name / "jobs.csv").read_text()

    def events(self, severity):
        return [event["text"] for event in json.loads(self.run("events", "--severity", severity, "--json"))]

    def end(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()


class WindowsSide:
    """The library in the host, under Wine. Wine's event log keeps nothing, but its trace has each entry."""

    ENTRY = re.compile(r'^\w+:(\w+):eventlog:ReportEventW L"(.*)"(\.\.\.)?$')
    SEVERITIES = {"err": "error", "warn": "warning", "trace": "information"}
    ESCAPES = {"n": "\n", "r": "\r", "t": "\t"}

    def __init__(self, folder, bin_folder):
        self.folder = folder
        folder.mkdir(exist_ok=True)
        environment = {**os.environ, "WINEDEBUG": "-all,+eventlog"}
        self.process = subprocess.Popen(["wine", bin_folder / "portwise-host.exe"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment, text=True,
                                        encoding="utf-8", errors="replace")
        self.answers, self.told, self.entries, self.changed = [], [], [], threading.Condition()
        self.threads = [threading.Thread(target=read, daemon=True) for read in (self.read_output, self.read_trace)]
        for thread in self.threads:
            thread.start()

    def read_output(self):
        for line in self.process.stdout:
            with self.changed:
                line = line.rstrip("\n")
                (self.told if line.startswith("job ") else self.answers).append(line)
                self.changed.notify_all()
        with self.changed:
            self.answers.append(None)
            self.changed.notify_all()

    def read_trace(self):
        for line in self.process.stderr:
            if found := self.ENTRY.match(line.rstrip("\n")):
                text = re.sub(r"\\(.)", lambda match: self.ESCAPES.get(match[1], match[1]), found[2])
                self.entries.append((self.SEVERITIES[found[1]], text))

    def try_order(self, *words, seconds=60):
        line = " ".join(f'"{word}"' for word in map(str, words))
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        with self.changed:
            if not self.changed.wait_for(lambda: self.answers, seconds):
                raise Wrong(f"no answer to {line}")
            answer = self.answers.pop(0)
        if answer is None:
            raise Wrong(f"the host ended at {line}")
        return answer

    def order(self, *words, seconds=60):
        answer = self.try_order(*words, seconds=seconds)
        if not answer.startswith("ok"):
            raise Wrong(f"{' '.join(map(str, words))}: {answer}")
        return answer[3:]

    def add(self, name, port, driver="Plain"):
        self.order("port", f"port-{name}", "127.0.0.1", port)
        self.order("printer", name, f"port-{name}", driver)

    def import_settings(self, name, text, logs):
        """The settings that the Linux side has exported, read by Wine's own program."""
        text = re.sub(r'("LoggingDirectory"=).*',
                      lambda match: match[1] + json.dumps(windows_path(logs / name), ensure_ascii=False), text)
        file = self.folder / f"{name}.reg"
        file.write_bytes(b"\xff\xfe" + text.encode("utf-16-le"))
        subprocess.run(["wine", "regedit", "/S", windows_path(file)], check=True, timeout=60)

    def use_port(self, printer, http):
        self.order("set", "dword", "NETWORK:TCP Port", http, printer)
        self.order("set", "bool", "NETWORK:Network Communication", "false", printer)

    def print(self, name, job, document):
        return int(self.order("print", name, windows_path(job), document).split()[1])

    def await_told(self, job, pattern, seconds=60):
        def find():
            with self.changed:
                return [line for line in self.told if re.fullmatch(f"job {job} {pattern}", line)]
        try:
            return await_that(find, f"job {job} {pattern}", seconds)[0]
        except Wrong as wrong:
            raise Wrong(f"{wrong}; told were {[line for line in self.told if line.startswith(f'job {job} ')]}") from None

    def await_end(self, seconds=60):
        self.order("wait", seconds, seconds=seconds + 10)

    def log(self, name):
        return (self.folder.parent / "windows-logs" / name / "jobs.csv").read_text()

    def events(self, severity):
        return [text for kind, text in self.entries if kind == severity]

    def await_events(self, severity, count):
        """The trace comes by a pipe of its own, and may come after what the host says later."""
        await_that(lambda: len(self.events(severity)) >= count, f"{count} events", 60)
        return self.events(severity)

    def end(self):
        """The host's exit code; ended when it does not end."""
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.close()
        try:
            self.process.wait(30)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        # Services that Wine has started meanwhile keep the standard error open, and may outlive the host.
        for thread in self.threads:
            thread.join(2)
        return self.process.returncode


class Dump:
    """What a minidump tells of the fault."""

    def __init__(self, path):
        data = path.read_bytes()
        signature, _, count, directory = struct.unpack_from("<4sIII", data)
        expect(signature, b"MDMP", "the dump begins with")
        streams = {}
        for index in range(count):
            kind, size, at = struct.unpack_from("<III", data, directory + 12 * index)
            streams[kind] = (at, size)
        self.modules = []
        at = streams[4][0]
        for index in range(struct.unpack_from("<I", data, at)[0]):
            base, size, _, _, name = struct.unpack_from("<QIIII", data, at + 4 + 108 * index)
            length = struct.unpack_from("<I", data, name)[0]
            self.modules.append((base, size, data[name + 4:name + 4 + length].decode("utf-16-le").lower()))
        at = streams[6][0]
        self.thread, _, self.code, _, _, self.address = struct.unpack_from("<IIIIQQ", data, at)
        at = streams[3][0]
        self.threads = [struct.unpack_from("<I", data, at + 4 + 48 * index)[0]
                        for index in range(struct.unpack_from("<I", data, at)[0])]

    def module_at_fault(self):
        for base, size, name in self.modules:
            if base <= self.address < base + size:
                return name.replace("/", "\\").rsplit("\\", 1)[-1]
        return None


class Checks:
    def __init__(self, work):
        self.work = work
        self.failed = False
        self.stack = contextlib.ExitStack()
        self.jobs = work / "jobs"
        self.jobs.mkdir()
        subprocess.run([SCRIPTS / "label_jobs.py", self.jobs, "6"], check=True)
        for name in ("portwise.ddz", "msgtable.dll"):
            shutil.copy(WINDOWS / name, SYSTEM / name)
        # Wine reads all symbols when it writes a dump, which takes seconds.
        strip = "x86_64-w64-mingw32-strip" if IS_64 else "i686-w64-mingw32-strip"
        self.bin = work / "bin"
        self.bin.mkdir()
        for file in (*WINDOWS.glob("*-u.dll"), WINDOWS / "portwise-host.exe", WINDOWS / "ask-printer.exe"):
            subprocess.run([strip, "-o", self.bin / file.name, file], check=True)
        subprocess.run([strip, "-o", SYSTEM / "portwise.dll", WINDOWS / "portwise.dll"], check=True)
        for name in ("driver.dll", "SIMPR.DAT", "BLKPR.DAT", "FAUTY.DAT"):
            (work / name).touch()

    def printer(self, name, *options):
        printer = Printer(self.work / name, *options)
        self.stack.callback(printer.end)
        return printer

    def plain(self, name):
        return (self.jobs / f"{name}.plain").read_bytes()

    def begin(self):
        self.ports = {"linux": free_port(), "windows": free_port()}
        self.linux = LinuxSide(self.work / "home", self.ports["linux"])
        self.stack.callback(self.linux.end)
        self.windows = WindowsSide(self.work / "windows", self.bin)
        self.stack.callback(self.windows.end)
        self.windows.order("driver", "Plain")
        for data, plugin in (("SIMPR", "pr#sim-u"), ("BLKPR", "pr#blk-u"), ("FAUTY", "ty#fau-u")):
            self.windows.order("driver", data, *(windows_path(path) for path in (
                self.work / "driver.dll", self.work / f"{data}.DAT", self.bin / f"{plugin}.dll")))

    def pair(self, name, *options, settings=None, data_file=None):
        """A printer of that name on both sides, with the same settings."""
        printers = {side: self.printer(f"{name}-{side}", *options) for side in ("linux", "windows")}
        self.linux.add(name, printers["linux"].port, settings, data_file and f"{data_file}.DAT")
        self.windows.add(name, printers["windows"].port, data_file or "Plain")
        self.windows.import_settings(name, self.linux.settings(name), self.work / "windows-logs")
        return printers

    def both(self):
        return (("linux", self.linux), ("windows", self.windows))

    def run(self, name, function):
        began = time.monotonic()
        try:
            text = function()
            print(f"passed\t{name}\t{text} ({time.monotonic() - began:.1f} s)", flush=True)
        except Exception as failure:  # what comes unforeseen fails this check alone
            self.failed = True
            print(f"failed\t{name}\t{str(failure)[:LONGEST_TEXT]!r}", flush=True)
            traceback.print_exception(failure, limit=3)
            self.cancel_all()

    def cancel_all(self):
        """What a check has left must not hold up those that come after it."""
        with contextlib.suppress(Wrong, OSError):
            for job in self.linux.jobs():
                self.linux.run("cancel", job["printer"], str(job["job"]))
            for job in {line.split()[1] for line in self.windows.told}:
                self.windows.try_order("cancel", job)

    # The checks, in their order.

    def jobs_with_sections(self):
        printers = self.pair("Packing")
        self.windows.use_port("Packing", self.ports["windows"])
        expect(self.windows.order("load"), "152" if IS_64 else "76", "the size of the monitor's table")
        for number in range(1, 7):
            for _, side in self.both():
                side.print("Packing", self.jobs / f"labels-{number}.job", f"Order {number}.lbl")
        for name, side in self.both():
            side.await_end()
            printers[name].order("wait-idle")
            expect([len(data) for data in printers[name].files()], [len(self.plain(f"labels-{n}")) for n in range(1, 7)],
                   f"bytes that arrived from {name}")
            for number, data in enumerate(printers[name].files(), 1):
                if data != self.plain(f"labels-{number}"):
                    raise Wrong(f"labels-{number} from {name} is different")
        expect(self.windows.log("Packing"), self.linux.log("Packing"), "the job log")
        return f"6 jobs, {sum(map(len, printers['windows'].files()))} bytes, those of Linux"

    def blocks_of_the_protocol(self):
        printers = self.pair("Blocks", data_file="BLKPR")
        for name, side in self.both():
            side.print("Blocks", self.jobs / "labels-2.job", "Blocks")
            side.await_end()
        expect(printers["windows"].received() == printers["linux"].received(), True, "the bytes are those of Linux")
        expect(len(printers["windows"].received()) > 0, True, "bytes arrived")
        return "a protocol plug-in wraps the data as on Linux"

    def out_of_paper(self):
        printers = self.pair("Dock", "--page-time", "50", settings=MONITORED, data_file="SIMPR")
        request = "<state name='Status' action='get'/>"
        await_that(lambda: "ready" in self.linux.run("status", "Dock"), "the printer's being ready on Linux")
        await_that(lambda: self.windows.order("ask", "Dock", request) == "Ready", "the printer's being ready")
        for name, side in self.both():
            printers[name].order("paper 8")
            side.print("Dock", self.jobs / "pages.job", "Order 4712")
        await_that(lambda: self.windows.order("ask", "Dock", request) == "Out of Paper", "the status without paper")
        await_that(lambda: "paper-out" in self.linux.run("status", "Dock"), "paper-out on Linux")
        for name, side in self.both():
            printers[name].order("ready")
            side.await_end()
            if printers[name].received() != self.plain("pages"):
                raise Wrong(f"the pages from {name} are different")
        expect(self.windows.log("Dock"), self.linux.log("Dock"), "the job log")
        expect("verified" in self.windows.log("Dock"), True, "the job is verified")
        for printer in printers.values():
            printer.order("ribbon low")  # a status that the spooler has no word for stands in the comment
        description = "PRINT:Printers/Dock/Description"
        comment = await_that(lambda: self.linux.run("registry", "get", description).rstrip("\n"), "the comment on Linux")
        await_that(lambda: self.comment("Dock") == comment, f"the comment {comment!r}")
        for printer in printers.values():
            printer.order("ready")
        return "20 pages, paper for 8: stopped, went on, verified, and the log is that of Linux"

    def comment(self, printer):
        listed = subprocess.run(
            ["wine", "reg", "query", rf"HKLM\SYSTEM\CurrentControlSet\Control\Print\Printers\{printer}", "/v",
             "Description"], capture_output=True, check=True, timeout=60).stdout.decode("cp437")
        return re.search(r"Description +REG_SZ *([^\r]*)", listed)[1]

    def lost_connection(self):
        printers = self.pair("Loading")
        # More than the system holds on the way to a printer: the connection breaks while the job is written.
        job, plain = self.jobs / "long.job", self.plain("labels-4") * 20
        job.write_bytes((self.jobs / "labels-4.job").read_bytes() * 20)
        for name, side in self.both():
            printers[name].order("drop 50000")
            side.print("Loading", job, "Lost")
        self.windows.await_end()
        await_that(lambda: [job["state"] for job in self.linux.jobs()] == ["held"], "the held job on Linux")
        for name, _ in self.both():
            first, *rest = printers[name].files()
            expect(plain.startswith(first) and len(first) >= 50000, True, f"{name} sent the job's begin")
            expect(plain.endswith(b"".join(rest)), True, f"{name} went on with what comes later")
        expect(self.windows.log("Loading").replace(",0,", ",").split(",")[-1],
               self.linux.log("Loading").replace(",0,", ",").split(",")[-1], "the job's state in the log")
        self.windows.await_events("warning", 1)
        warnings = {name: [self.normal(text, name) for text in side.events("warning")] for name, side in self.both()}
        expect(len(warnings["linux"]), 1, "warnings on Linux")
        expect(warnings["windows"], warnings["linux"], "the warning")
        self.linux.run("cancel", "Loading", str(self.linux.jobs()[0]["job"]))
        return warnings["windows"][0].replace("\n", " ")

    @staticmethod
    def normal(text, name):
        """Without what is each side's own: numbers, and how lines end."""
        return re.sub(r"\d+", "N", text.replace("\r\n", "\n").strip())

    def nobody_there(self):
        printers = self.pair("Shipping")
        jobs = {}
        for name, side in self.both():
            printers[name].order("refuse")
            jobs[name] = side.print("Shipping", self.jobs / "labels-1.job", "Order 4711")
        self.windows.await_told(jobs["windows"], "not begun: error 10061")
        await_that(lambda: "refused" in self.linux.jobs()[0]["reason"], "the refusal on Linux")
        for name, side in self.both():
            printers[name].order("ready")
            side.await_end()
            expect(printers[name].received() == self.plain("labels-1"), True, f"{name} printed it then, whole and once")
        self.windows.order("port", "port-Nowhere", "no-such-host.invalid", 9100)
        self.windows.order("printer", "Nowhere", "port-Nowhere", "Plain")
        job = self.windows.print("Nowhere", self.jobs / "labels-1.job", "Nowhere")
        self.windows.await_told(job, "not begun: error 1100[14]")
        self.windows.order("cancel", job)
        self.windows.await_told(job, "cancelled before it began")
        return "refused with 10061, printed whole and once when the printer was back; a name that is not known: 11001"

    def file_port(self):
        target = self.work / "file-port.prn"
        self.windows.order("port", windows_path(target))
        self.windows.order("printer", "Archive", windows_path(target), "Plain")
        self.windows.print("Archive", self.jobs / "labels-5.job", "To a file")
        self.windows.await_end()
        expect(target.read_bytes() == self.plain("labels-5"), True, "the file is the job without its sections")
        missing = windows_path(self.work / "missing" / "x.prn")
        self.windows.order("printer", "Lost", missing, "Plain")
        job = self.windows.print("Lost", self.jobs / "labels-5.job", "To nowhere")
        self.windows.await_told(job, "not begun: error 3")  # ERROR_PATH_NOT_FOUND
        self.windows.order("close", "Lost")
        return "through the port monitor below, byte for byte; a folder that is missing: error 3"

    def requests(self):
        request = "<port name='ip_address' action='get'/>"
        expect(self.windows.order("ask", "Dock", request), "127.0.0.1", "the answer in place")
        expect(self.windows.order("request", "Dock", request), "127.0.0.1", "the answer through the registry")
        expect(self.windows.order("ask", "Dock", "Monitoring Enabled"), r"\x01", "whether the monitor is there")
        expect(self.windows.try_order("ask", "Dock", "Something else"), "failed: error 87", "an unknown value")
        big = f"<reverse>{'ab' * 20000}</reverse>"
        expect(self.windows.order("request", "Dock", big), "ba" * 20000, "a long answer")
        expect(self.windows.try_order("read", "Packing"), "failed: error 0", "reading what a silent printer sends")
        return "in place and through the registry"

    def curl(self, port, path, **fields):
        words = [word for name, value in fields.items() for word in ("--data-urlencode", f"{name}={value}")]
        done = subprocess.run(["curl", "-sS", "-m", "10", "-w", "\n%{http_code} %{content_type}", "-G", *words,
                               f"http://127.0.0.1:{port}{path}"], capture_output=True, check=True, timeout=20)
        body, _, end = done.stdout.rpartition(b"\n")
        return body, end.decode()

    def network_service(self):
        body, end = self.curl(self.ports["windows"], "/tickcount")
        expect((body.isdigit(), end), (True, "200 text/plain"), "the tick count")
        for path, fields in (("/xpml", {"printer": "Dock", "xpml": "<state name='Status' action='get'/>"}),
                             ("/xpml", {"printer": "Dock", "xpml": "<xpml><encode type='hex'>\u00e4</encode></xpml>"}),
                             ("/xpml", {"printer": "Dock", "xpml": "<decode type='hex'>000102</decode>"}),
                             ("/xpml", {"printer": "Nobody", "xpml": "x"}), ("/info", {}), ("/elsewhere", {})):
            answers = [self.curl(self.ports[name], path, **fields) for name in ("windows", "linux")]
            answers = [(re.sub(rb"127.0.0.1:\d+", b"", body), end) for body, end in answers]
            expect(answers[0], answers[1], f"{path} {fields}")
        page, end = self.curl(self.ports["windows"], "/info", printer="Dock")
        expect((b"port-Dock" in page, end.split()[0]), (True, "200"), f"/info: {page[:200]}")
        return "curl gets the tick count, XPML replies, the page of a printer and refusals as on Linux"

    def client_functions(self):
        request = "<port name='ip_address' action='get'/>"
        self.windows.order("set", "dword", "NETWORK:Connection Retries", 0, "Dock")
        ask = ["wine", self.bin / "ask-printer.exe"]
        done = subprocess.run([*ask, "Dock", request], capture_output=True, timeout=60)
        expect((done.returncode, done.stdout.rstrip(b"\0"), done.stderr.strip()), (0, b"127.0.0.1", b"answered over HTTP"),
               "the example")
        done = subprocess.run([*ask, "Nobody", request], capture_output=True, timeout=60)
        expect((done.returncode, done.stderr.strip()), (1, b"ask-printer: no answer, error 1801"), "a printer not known")
        # Over HTTP alone: Wine's spooler, which is asked then, knows no such value.
        self.windows.order("set", "bool", "NETWORK:TCP Enabled", "false", "Dock")
        done = subprocess.run([*ask, "Dock", request], capture_output=True, timeout=60)
        self.windows.order("set", "bool", "NETWORK:TCP Enabled", "true", "Dock")
        expect((done.returncode, done.stderr.strip()), (1, b"ask-printer: no answer, error 2"), "without HTTP")
        return "the example asks over HTTP; a printer that is not known is an error"

    def dumps(self):
        return sorted(DUMPS.glob("*.dmp"))

    def faults(self):
        printer = self.printer("faulty")
        before = len(self.windows.events("error")), len(self.dumps())
        self.windows.add("Faulty null", printer.port, "FAUTY")
        self.windows.add("Faulty throw", printer.port, "FAUTY")
        job = self.windows.print("Faulty null", self.jobs / "labels-1.job", "Fault")
        self.windows.await_told(job, "not begun: error 487")  # ERROR_INVALID_ADDRESS
        self.windows.await_told(job, "not begun: error 0")  # the job's every call fails, and is reported once
        self.windows.order("cancel", job)
        self.windows.await_told(job, "cancelled before it began")
        reports = self.windows.await_events("error", before[0] + 1)[before[0]:]
        expect((len(reports), len(self.dumps()) - before[1]), (1, 1), "reports and dumps of one job")
        wanted = (r"Port: port-Faulty null\tPrinter: Faulty null\r\nError: [^\r]+\r\nCaught in \[lmStartDocPortW\]\r\n"
                  r"MiniDump File: C:\\ProgramData\\Corvane\\Drivers\\Dump\\faultdump_0000.dmp\r\n")
        expect(re.fullmatch(wanted, reports[0]) is not None, True, f"the report is {reports[0]!r}")
        dump = Dump(self.dumps()[-1])
        expect((dump.code, dump.module_at_fault(), dump.thread in dump.threads), (0xC0000005, "ty#fau-u.dll", True),
               "the dump has the fault in the plug-in")
        job = self.windows.print("Faulty throw", self.jobs / "labels-1.job", "Throw")
        self.windows.await_told(job, "not begun: error 1359")  # ERROR_INTERNAL_ERROR
        self.windows.order("cancel", job)
        reports = self.windows.await_events("error", before[0] + 2)[before[0] + 1:]
        expect([("thrown by a plug-in" in text, "MiniDump" in text) for text in reports], [(True, False)],
               "an exception of a plug-in is reported without a dump")
        return "one report and one dump, which names the plug-in; the host goes on"

    def fault_of_the_status_thread(self):
        printer = self.printer("polled")
        before = len(self.windows.events("error")), len(self.dumps())
        self.windows.add("Faulty poll", printer.port, "FAUTY")
        self.windows.order("set", "dword", "Settings:Status/Status Monitoring Mode", 2, "Faulty poll")
        self.windows.order("open", "Faulty poll")
        self.windows.await_events("error", before[0] + 1)
        expect(len(self.dumps()) - before[1], 1, "dumps")
        self.windows.order("close", "Faulty poll")
        expect(self.windows.order("ask", "Packing", "<reverse>abc</reverse>"), "cba", "another port")
        return "reported with a dump; other ports work, and the port closes"

    def bad_input(self):
        printer = self.printer("bad")
        job = self.jobs / "labels-3.job"
        self.windows.add("No plug-in", printer.port)
        self.windows.order("set", "dword", "Settings:Status/Status Monitoring Mode", 2, "No plug-in")
        self.windows.add("No rights", printer.port, "SIMPR")
        self.windows.order("set", "dword", "Settings:Status/Status Monitoring Mode", 2, "No rights")
        self.windows.order("deny", "Settings:Status", "No rights")
        for name in ("No plug-in", "No rights"):
            self.windows.print(name, job, name)
            self.windows.await_end()
        expect(self.windows.try_order("set", "dword", "Settings:Status/Send Timeout", 1, "No rights"),
               "failed: Settings:Status/Send Timeout: the registry does not take it", "a key without rights")
        printer.order("wait-idle")
        expect(printer.files() == [self.plain("labels-3")] * 2, True, "both jobs are printed")
        for words, answer in ((("open", "Nobody"), "failed: there is no printer Nobody"),
                              (("print", "Packing", "Z:\\missing"), "failed: Z:\\missing: error 2"),
                              (("fly",), "failed: there is no order fly"),
                              (("port", "x", "127.0.0.1", "70000"), 'failed: "70000" is no number up to 65535')):
            expect(self.windows.try_order(*words), answer, f"{words}")
        return "jobs print without a plug-in and without rights to the settings; orders that make no sense are told"

    def second_host(self):
        """Its network port is taken, and the archive of texts is missing. It ends in mid-job, with a plug-in that has
        called back and waits for a printer that takes nothing."""
        printers = {name: self.printer(f"second-{name}") for name in ("linux", "windows")}
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            number = taken.getsockname()[1]
            linux = LinuxSide(self.work / "second-home", number)
            archive = SYSTEM / "portwise.ddz"
            archive.rename(archive.with_suffix(".away"))
            windows = WindowsSide(self.work / "second", self.bin)
            try:
                linux.add("Second", printers["linux"].port, MONITORED, "SIMPR.DAT")
                windows.add("Second", printers["windows"].port, "SIMPR")
                windows.import_settings("Second", linux.settings("Second"), self.work / "windows-logs")
                windows.use_port("Second", number)
                windows.print("Second", self.jobs / "labels-6.job", "Second")
                windows.await_end()
                expect(printers["windows"].received() == self.plain("labels-6"), True, "the job is printed")
                status = await_that(lambda: windows.order("ask", "Second", "<state name='Status' action='get'/>"),
                                    "a status")
                expect(status, "Ready", "the status without the archive")
                warnings = {}
                windows.await_events("warning", 1)
                for side in (linux, windows):
                    texts = side.events("warning")
                    warnings[side] = [self.normal(text, None) for text in texts if "listen" in text]
                expect(len(warnings[linux]), 1, "warnings of the taken port on Linux")
                expect(warnings[windows], warnings[linux], "warnings of the taken port")
                # Ended as a spooler that is stopped: with an open port, in mid-job.
                job = windows.print("Second", self.jobs / "pages.job", "Left")
                windows.await_told(job, "begun")
                windows.add("Stalled", number, "BLKPR")
                endless = self.work / "endless.job"
                endless.write_bytes(bytes(16 << 20))
                windows.await_told(windows.print("Stalled", endless, "Stalled"), "begun")
                time.sleep(2)  # until what the system takes of it is full
                windows.process.stdin.write("leave\n")
                windows.process.stdin.flush()
                expect(windows.process.wait(30), 0, "the exit code of the second host")
            finally:
                archive.with_suffix(".away").rename(archive)
                linux.end()
                windows.end()
        done = subprocess.run(["wine", self.bin / "portwise-host.exe", "--library", "missing.dll"], input=b"load\n",
                              capture_output=True, timeout=60)
        expect(done.stdout.strip(), b"failed: missing.dll cannot be loaded: error 126", "a library that is missing")
        return "a taken port is told once, as on Linux; texts are the library's own; it ends in mid-job, in a callback too"

    def end_of_the_host(self):
        expect(self.windows.end(), 0, "the exit code of the host")
        return "the ports close, and the process ends in order"

    def all(self):
        with self.stack:
            self.begin()
            for name, function in (
                ("jobs with XPML sections", self.jobs_with_sections),
                ("protocol plug-in", self.blocks_of_the_protocol),
                ("out of paper in mid-job", self.out_of_paper),
                ("connection lost in mid-job", self.lost_connection),
                ("printer that refuses", self.nobody_there),
                ("port monitor below", self.file_port),
                ("printer data", self.requests),
                ("network service", self.network_service),
                ("client functions", self.client_functions),
                ("bad input", self.bad_input),
                ("taken port, missing archive, hasty end", self.second_host),
                ("fault of a plug-in", self.faults),
                ("fault of the status thread", self.fault_of_the_status_thread),
                ("end of the host", self.end_of_the_host),
            ):
                self.run(name, function)


def main():
    with tempfile.TemporaryDirectory(prefix="portwise-host-") as work:
        checks = Checks(pathlib.Path(work))
        checks.all()
    for name, reason in NOT_RUN.items():
        print(f"not run\t{name}\t{reason}")
    sys.exit(1 if checks.failed else 0)


main()
