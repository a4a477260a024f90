#!/usr/bin/env python3
"""Measures the monitor's network service with wrk, one request a connection, beside nginx that answers a fixed text: the
rates of "/tickcount" and of "/xpml" with ten commands, and the memory of idle connections. bench/http_bench.py PROGRAMS
[SECONDS]: the folder of the programs, and how long each run takes."""

import os
import pathlib
import re
import resource
import socket
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.parse

PROGRAMS = pathlib.Path(sys.argv[1]).resolve()
SECONDS = int(sys.argv[2]) if len(sys.argv) > 2 else 4
ROUNDS = 3
IDLE = 1000
NGINX = """
daemon off; worker_processes auto; pid {work}/pid; error_log {work}/error;
events {{ worker_connections 4096; }}
http {{
  access_log off; keepalive_timeout 0;
  client_body_temp_path {work}/a; proxy_temp_path {work}/b; fastcgi_temp_path {work}/c;
  uwsgi_temp_path {work}/d; scgi_temp_path {work}/e;
  server {{ listen 127.0.0.1:{port} backlog=4096; location / {{ return 200 "1234567890"; }} }}
}}
"""


def free_port():
    with socket.socket() as own:
        own.bind(("127.0.0.1", 0))
        return own.getsockname()[1]


def wait_for(port):
    for _ in range(100):
        try:
            socket.create_connection(("127.0.0.1", port)).close()
            return
        except OSError:
            time.sleep(0.1)
    sys.exit(f"http_bench: nobody listens at port {port}")


def measure(clients, url):
    """Requests a second, and the 99th percentile of their times in milliseconds."""
    command = ["wrk", f"-t{min(clients, 2)}", f"-c{clients}", f"-d{SECONDS}", "--latency", "-H", "Connection: close", url]
    told = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    if "Non-2xx" in told or "Socket errors" in told:
        print(told)
    number, unit = re.search(r"99% +([\d.]+)([a-z]+)", told).groups()
    return float(re.search(r"Requests/sec: *([\d.]+)", told)[1]), float(number) * {"us": 0.001, "ms": 1, "s": 1000}[unit]


def resident(process):
    status = pathlib.Path(f"/proc/{process}/status").read_text()
    return int(re.search(r"VmRSS:\s+(\d+)", status)[1]) / 1024


def main():
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (max(soft, min(hard, 16384)), hard))
    with tempfile.TemporaryDirectory() as work:
        home = pathlib.Path(work, "home")
        home.mkdir()
        ports = {"nginx": free_port(), "service": free_port()}
        environment = dict(os.environ, PORTWISE_HOME=str(home), PORTWISE_COMPUTER_NAME="BENCH")

        def portwise(*arguments):
            subprocess.run([PROGRAMS / "portwise", *arguments], env=environment, check=True, stdout=subprocess.DEVNULL)

        portwise("registry", "set", "--type", "dword", "LOCAL:Network/@BENCH/TCP Port", str(ports["service"]))
        portwise("registry", "set", "--type", "bool", "LOCAL:Network/@BENCH/Network Communication", "false")
        configuration = pathlib.Path(work, "nginx.conf")
        configuration.write_text(NGINX.format(work=work, port=ports["nginx"]))
        spooler = subprocess.Popen([PROGRAMS / "portwise-spooler"], env=environment, stdout=subprocess.DEVNULL)
        nginx = subprocess.Popen(["/usr/sbin/nginx", "-c", configuration])
        try:
            for port in ports.values():
                wait_for(port)
            portwise("port", "add", "bench", "--file", str(home / "bench.prn"))
            portwise("printer", "add", "Labels", "--port", "bench")
            commands = urllib.parse.quote_plus("<uppercase>abc</uppercase>" * 10)
            urls = {
                "nginx": f"http://127.0.0.1:{ports['nginx']}/",
                "tick": f"http://127.0.0.1:{ports['service']}/tickcount",
                "xpml": f"http://127.0.0.1:{ports['service']}/xpml?printer=Labels&xpml={commands}",
            }
            for clients in (1, 64, 512):
                runs = [{name: measure(clients, url) for name, url in urls.items()} for _ in range(ROUNDS)]
                rate = {name: statistics.median(run[name][0] for run in runs) for name in urls}
                p99 = {name: statistics.median(run[name][1] for run in runs) for name in urls}
                times = f"({rate['tick']:.0f} a second, p99 {p99['tick']:.1f} ms; nginx {rate['nginx']:.0f}, {p99['nginx']:.1f} ms)"
                what = f"HTTP, rate over nginx, {clients} clients"
                print(f"{what:42} {rate['tick'] / rate['nginx']:6.2f}   at least 0.5 {times}")
                what = "  ten commands, over /tickcount"
                print(f"{what:42} {rate['xpml'] / rate['tick']:6.2f}   at least 0.33")
            time.sleep(12)  # threads without a client have gone
            before = resident(spooler.pid)
            idle = [socket.create_connection(("127.0.0.1", ports["service"])) for _ in range(IDLE)]
            time.sleep(1)
            print(f"{'1000 idle connections, MiB resident in all':42} {resident(spooler.pid):6.0f}   at most 64 "
                  f"({before:.0f} without)")
            for connection in idle:
                connection.close()
        finally:
            for process in (nginx, spooler):
                process.terminate()
                process.wait()


main()
