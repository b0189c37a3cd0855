"""Prometheus, its Alertmanager and what they scrape, each a process on a loopback port of its own that ends with the stack."""
import contextlib
import ctypes
import json
import pathlib
import re
import signal
import subprocess
import tempfile
import time
import urllib.error
import urllib.parse
import urllib.request

TOP = pathlib.Path(__file__).resolve().parents[2]
LISTENING = r'"Listening on" address=127\.0\.0\.1:(\d+)'


def get(url):
    # Proxies are for other machines.
    with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(url, timeout=20) as answer:
        return answer.read().decode()


def wait_for(what, condition, seconds):
    """The first true result of the condition, which is asked again and again for so long."""
    end = time.monotonic() + seconds
    while not (result := condition()):
        if time.monotonic() > end:
            raise AssertionError(f'{what}: not within {seconds} s')
        time.sleep(0.1)  # between two looks
    return result


def example(name, replaced):
    """A file of prometheus/ with parts replaced, each of which must be there."""
    text = (TOP / 'prometheus' / name).read_text()
    for old, new in replaced.items():
        assert old in text, f'{name}: there is no {old!r} to replace'
        text = text.replace(old, new)
    return text


def end_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG: nothing is left behind by a test that is killed


class Stack(contextlib.ExitStack):
    def __init__(self):
        super().__init__()
        self.folder = pathlib.Path(self.enter_context(tempfile.TemporaryDirectory(prefix='quarnel-test-')))
        self.logs = []
        self.push(self.show_logs)

    def show_logs(self, kind, *_):
        for log in self.logs if kind else []:
            print(f'--- {log.name}', log.read_text()[-3000:], sep='\n')

    def write(self, name, text):
        (self.folder / (name + '.new')).write_text(text)
        (self.folder / (name + '.new')).rename(self.folder / name)
        return self.folder / name

    def start(self, port, *command):
        """The process, and its port as the pattern finds it in what it prints."""
        log = self.folder / f'log{len(self.logs)}-{pathlib.Path(command[0]).name}'
        self.logs.append(log)
        with log.open('wb') as out:
            process = subprocess.Popen([str(word) for word in command], stdout=out, stderr=out, preexec_fn=end_with_parent)
        self.callback(self.end, process)

        def found():
            assert process.poll() is None, f'{command[0]} has ended'
            return re.search(port, log.read_text())
        return process, int(wait_for(f'{command[0]} listens', found, 60)[1])

    @staticmethod
    def end(process):
        process.terminate()
        process.wait(30)

    def start_alertmanager(self):
        _, port = self.start(
            LISTENING, 'prometheus-alertmanager', '--cluster.listen-address=', '--web.listen-address=127.0.0.1:0',
            f'--config.file={TOP}/prometheus/alertmanager.yml', f'--storage.path={self.folder}/alertmanager')
        return port

    def start_prometheus(self, interval, wait, targets, alertmanager):
        """`wait` takes the place of lines with minutes in the alerts' rules; `targets` that of the example's."""
        self.write('alerts.yml', re.sub(r'(?m)^( +(?:for|interval): )(\d+)m$', wait, example('alerts.yml', {})))
        config = self.write('prometheus.yml', example('prometheus.yml', {
            '15s': f'{interval}s',
            '/usr/share/quarnel/prometheus/': f'{self.folder}/',
            'localhost:9093': f'127.0.0.1:{alertmanager}',
            "    static_configs:\n      - targets: ['localhost:5980']\n": targets,
            "['localhost:9100']": '[]'}))
        process, port = self.start(LISTENING, 'prometheus', f'--config.file={config}', '--web.listen-address=127.0.0.1:0',
                                   f'--storage.tsdb.path={self.folder}/prometheus')
        prometheus = Prometheus(f'http://127.0.0.1:{port}')
        wait_for('Prometheus is ready', prometheus.is_ready, 60)
        return process, prometheus


class Prometheus:
    def __init__(self, url):
        self.url = url

    def is_ready(self):
        with contextlib.suppress(urllib.error.HTTPError):
            return get(self.url + '/-/ready')

    def ask(self, path, **parameters):
        return json.loads(get(f'{self.url}/api/v1/{path}?{urllib.parse.urlencode(parameters)}'))['data']

    def query(self, expression):
        """[labels, value] of each series, in a fixed order."""
        result = self.ask('query', query=expression)['result']
        return sorted(([each['metric'], float(each['value'][1])] for each in result), key=lambda row: sorted(row[0].items()))

    def value(self, expression):
        rows = self.query(expression)
        return rows[0][1] if rows else None

    def firing(self):
        return [alert for alert in self.ask('alerts')['alerts'] if alert['state'] == 'firing']
