"""The metrics on their whole way: a node_exporter reads the file, a Prometheus
scrapes it, and tells what was written when it is asked. All of it on loopback, on
ports that were free.

    scrape_test.py METRICS_SAMPLE TREE

Ends with 77 where one of the programs is missing.
"""

import contextlib
import json
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.parse
import urllib.request

SAMPLE, TREE = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
PATIENCE = 120  # seconds, for each thing that is waited for
PROGRAMS = {name: shutil.which(name) for name in ("prometheus", "prometheus-node-exporter")}


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


def fetched(url):
    # No proxy stands between loopback and itself.
    with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(url, timeout=10) as page:
        return page.read().decode()


class Scrape(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="st-scrape-")
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)

    def started(self, name, *words):
        """The port of a program that answers there; another port where one was taken."""
        for _ in range(5):
            port = free_port()
            log = open(self.folder / f"{name}.log", "w+")
            self.addCleanup(log.close)
            process = subprocess.Popen([PROGRAMS[name], f"--web.listen-address=127.0.0.1:{port}",
                                        *words], stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                       cwd=self.folder)
            self.addCleanup(self.stop, process)
            if self.answers(process, port):
                return port
        log.seek(0)
        self.fail(f"{name} does not start:\n{log.read()}")

    def stop(self, process):
        process.terminate()
        try:
            process.wait(30)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()

    def answers(self, process, port):
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline and process.poll() is None:
            with contextlib.suppress(OSError):
                fetched(f"http://127.0.0.1:{port}/")
                return True
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(0.1)
        return False

    def sample(self, kind):
        return subprocess.run([SAMPLE, kind], check=True, capture_output=True).stdout

    def exporter(self, text):
        metrics = self.folder / "textfile"
        metrics.mkdir(exist_ok=True)
        (metrics / "st-report.prom").write_bytes(text)
        return self.started("prometheus-node-exporter", "--collector.disable-defaults",
                            "--collector.textfile", f"--collector.textfile.directory={metrics}",
                            "--web.disable-exporter-metrics")

    def exported(self, exporter):
        """What node_exporter hands on, and what it has said by then."""
        page = fetched(f"http://127.0.0.1:{exporter}/metrics")
        return page, (self.folder / "prometheus-node-exporter.log").read_text()

    def prometheus(self, exporter):
        rules = self.folder / "rules.yml"
        shutil.copy(TREE / "docs/st-report.rules.yml", rules)
        (self.folder / "prometheus.yml").write_text(f"""
global: {{scrape_interval: 1s, evaluation_interval: 1s}}
rule_files: [{rules}]
scrape_configs:
  - job_name: recorder
    static_configs: [{{targets: ['127.0.0.1:{exporter}']}}]
""")
        return self.started("prometheus", f"--config.file={self.folder}/prometheus.yml",
                            f"--storage.tsdb.path={self.folder}/data", "--log.level=warn")

    def asked(self, port, query):
        """What Prometheus knows of a query, once it knows something."""
        url = f"http://127.0.0.1:{port}/api/v1/query?" + urllib.parse.urlencode({"query": query})
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            with contextlib.suppress(urllib.error.URLError):
                found = json.loads(fetched(url))["data"]["result"]
                if found:
                    return {tuple(sorted(each["metric"].items())): each["value"][1]
                            for each in found}
            # Polls: the API has nothing that would wait.
            time.sleep(0.1)
        self.fail(f"Prometheus was never told of {query}")

    def one(self, port, query):
        found = self.asked(port, query)
        self.assertEqual(len(found), 1, found)
        return float(next(iter(found.values())))

    def test_what_was_written_is_what_prometheus_tells(self):
        exporter = self.exporter(self.sample("good"))
        page, log = self.exported(exporter)
        self.assertIn("\nnode_textfile_scrape_error 0\n", page)
        self.assertNotIn("level=error", log)

        port = self.prometheus(exporter)
        self.assertEqual(self.one(port, 'st_report_volume_lost_bytes{volume="vol2"}'), 7 * 2**20)
        self.assertEqual(self.one(port, 'st_report_volume_mounted{volume="vol3"}'), 0)
        self.assertEqual(self.one(port, "st_report_completion_timestamp_seconds"), 1732174200.25)
        self.assertEqual(self.one(port, "count(st_report_volume_leak)"), 3)
        # The rules are read, and wait for the time that they name.
        alerts = json.loads(fetched(f"http://127.0.0.1:{port}/api/v1/rules"))
        self.assertEqual(len(alerts["data"]["groups"][0]["rules"]), 7)
        self.assertEqual(self.one(port, 'ALERTS{alertname="StVolumeLeak",alertstate="pending",'
                                        'volume="vol2"}'), 1)

    def test_nonsense_is_read_too(self):
        exporter = self.exporter(self.sample("nonsense"))
        page, log = self.exported(exporter)
        self.assertIn("\nnode_textfile_scrape_error 0\n", page)
        self.assertNotIn("level=error", log)
        self.assertIn("st_report_service_reachable 0", page)
        port = self.prometheus(exporter)
        self.assertEqual(self.one(port, "count(st_report_volume_leak)"), 15)
        self.assertEqual(self.one(port, "max(st_report_space_used_bytes)"), (2.0**63) * 2**20)

    def test_a_doubled_series_would_be_noticed(self):
        text = self.sample("good")
        exporter = self.exporter(text + text.splitlines(keepends=True)[-1])
        self.assertIn("was collected before", self.exported(exporter)[1])


if __name__ == "__main__":
    missing = [name for name, path in PROGRAMS.items() if not path]
    if missing:
        print(f"skipped: there is no {' and no '.join(missing)} (tools/packages report)")
        sys.exit(77)
    # A test that is stopped stops what it started.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    unittest.main(argv=sys.argv[:1])
