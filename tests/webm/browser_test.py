#!/usr/bin/env python3
"""WebM files of kxmux's WEBM row played in headless Chromium, which loads
browser_page.html over HTTP with Range requests and is driven through the
DevTools pipe. Usage: browser_test.py --list | --kxmux PATH --work DIR CASE
"""

import argparse
import http.server
import json
import os
import re
import select
import shutil
import subprocess
import sys
import threading
import time
import urllib.parse

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, '..', 'conformance'))
import conformance  # noqa: E402  (the inputs and how they are encoded)

# Case: input, kxmux options, the input streams that go into the file.
CASES = {
    'vp8_vorbis': ('vp8_vorbis.webm', [], 'v,a'),
    'vp9_vorbis': ('vp9_vorbis.webm', [], 'v,a'),
    'vp9_alone': ('vp9_vorbis.webm', ['--no-audio'], 'v'),
    'vorbis_alone': ('vorbis.ogg', [], 'a'),
    'opus_alone': ('opus.opus', ['--any-codec'], 'a'),  # CodecPrivate holds the OpusHead
    'multi_vp9_two_vorbis': ('vp9_two_vorbis.webm', ['--multi'], 'v,a'),  # the second table
}
TIMEOUT = 120  # seconds for the whole page; each stage has 20 s of its own
CHROMIUM_FLAGS = ('--headless --remote-debugging-pipe --mute-audio --disable-gpu '
                  '--autoplay-policy=no-user-gesture-required --no-first-run '
                  '--no-default-browser-check --disable-background-networking '
                  '--disable-component-update --disable-sync --disable-extensions '
                  '--disable-default-apps --disable-domain-reliability --disable-breakpad '
                  '--disable-dev-shm-usage --disable-features=MediaRouter,Translate').split()


def stream_facts(path, streams):
    """The end of the last packet of the kept streams, and the picture size."""
    end, size = 0.0, (0, 0)
    for kind in streams.split(','):
        info = conformance.probe(path, '-select_streams', kind, '-show_entries',
                                 'stream=width,height:packet=pts_time,duration_time')
        for p in info.get('packets', []):
            end = max(end, float(p['pts_time']) + float(p.get('duration_time', 0)))
        if kind == 'v':
            size = (info['streams'][0]['width'], info['streams'][0]['height'])
    return end, size


class RangeHandler(http.server.BaseHTTPRequestHandler):
    """Serves the page and the case's files; answers `Range: bytes=` with 206."""
    root = ''

    def log_message(self, *args):
        pass

    def do_GET(self):
        name = os.path.basename(urllib.parse.urlparse(self.path).path)
        path = os.path.join(HERE, 'browser_page.html') if name == 'page.html' else \
            os.path.join(self.root, name)
        try:
            with open(path, 'rb') as f:
                data = f.read()
        except OSError:
            return self.send_error(404)
        first, last, status = 0, len(data) - 1, 200
        m = re.fullmatch(r'bytes=(\d*)-(\d*)', self.headers.get('Range', ''))
        if m and (m[1] or m[2]):
            first = int(m[1]) if m[1] else max(0, len(data) - int(m[2]))
            last = min(int(m[2]), last) if m[1] and m[2] else last
            status = 206
        self.send_response(status)
        self.send_header('Content-Type', 'text/html' if name == 'page.html' else 'video/webm')
        self.send_header('Accept-Ranges', 'bytes')
        self.send_header('Content-Length', str(last - first + 1))
        if status == 206:
            self.send_header('Content-Range', f'bytes {first}-{last}/{len(data)}')
        self.end_headers()
        self.wfile.write(data[first:last + 1])


class DevTools:
    """Chromium's DevTools protocol over --remote-debugging-pipe (fds 3 and 4)."""

    def __init__(self, chromium, profile, log, deadline):
        cmd_r, self.cmd_w = os.pipe()
        self.out_r, out_w = os.pipe()
        flags = CHROMIUM_FLAGS + [f'--user-data-dir={profile}']
        if os.geteuid() == 0:
            flags.append('--no-sandbox')  # Chromium's sandbox refuses to run as root
        env = dict(os.environ, HOME=profile, XDG_CONFIG_HOME=profile, XDG_CACHE_HOME=profile)
        # The shell hands the pipe ends over as fds 3 (commands) and 4 (replies).
        self.proc = subprocess.Popen(
            ['sh', '-c', f'exec "$0" "$@" 3<&{cmd_r} 4>&{out_w}', chromium, *flags],
            pass_fds=(cmd_r, out_w), env=env, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=log)
        os.close(cmd_r)
        os.close(out_w)
        self.deadline, self.buffer, self.next_id = deadline, b'', 0

    def receive(self):
        while b'\0' not in self.buffer:
            left = self.deadline - time.monotonic()
            if left <= 0 or not select.select([self.out_r], [], [], left)[0]:
                raise TimeoutError
            chunk = os.read(self.out_r, 65536)
            if not chunk:
                raise RuntimeError('Chromium ended (its messages: chromium.log)')
            self.buffer += chunk
        message, self.buffer = self.buffer.split(b'\0', 1)
        return json.loads(message)

    def call(self, method, session=None, **params):
        self.next_id += 1
        message = {'id': self.next_id, 'method': method, 'params': params}
        if session:
            message['sessionId'] = session
        os.write(self.cmd_w, json.dumps(message).encode() + b'\0')
        while True:
            reply = self.receive()
            if reply.get('id') == self.next_id:
                if 'error' in reply:
                    raise RuntimeError(f'{method}: {reply["error"]}')
                return reply['result']


def play(chromium, url, work):
    """The page's verdict, or why there is none."""
    profile = os.path.join(work, 'profile')
    shutil.rmtree(profile, ignore_errors=True)
    os.makedirs(profile)
    with open(os.path.join(work, 'chromium.log'), 'w') as log:
        browser = DevTools(chromium, profile, log, time.monotonic() + TIMEOUT)
    try:
        target = browser.call('Target.createTarget', url='about:blank')['targetId']
        session = browser.call('Target.attachToTarget', targetId=target, flatten=True)['sessionId']
        browser.call('Page.enable', session)
        if browser.call('Page.navigate', session, url=url).get('errorText'):
            return 'FAIL page: the page did not load'
        while browser.receive().get('method') != 'Page.loadEventFired':
            pass
        result = browser.call('Runtime.evaluate', session, expression='window.verdict',
                              awaitPromise=True, returnByValue=True)
        return result['result'].get('value', f'FAIL page: {result}')
    except TimeoutError:
        return f'FAIL page: no verdict within {TIMEOUT} s'
    except RuntimeError as e:
        return f'FAIL browser: {e}'
    finally:
        browser.proc.kill()
        browser.proc.wait()


def run_case(args, name):
    source, options, streams = CASES[name]
    chromium = shutil.which('chromium') or sys.exit('FAIL: no chromium (scripts/install-deps.sh)')
    work = os.path.join(args.work, name)
    os.makedirs(work, exist_ok=True)
    inp = conformance.make_input(args.work, source, conformance.INPUTS[source])
    out = os.path.join(work, name + '.webm')
    mux = subprocess.run([args.kxmux, '-q', '--format', 'WEBM', *options, inp, out],
                         capture_output=True, text=True)
    if mux.returncode != 0:
        return print(f'FAIL {name}: kxmux: {mux.stderr.strip()}') or 1
    duration, (width, height) = stream_facts(inp, streams)

    RangeHandler.root = work
    server = http.server.ThreadingHTTPServer(('127.0.0.1', 0), RangeHandler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    query = urllib.parse.urlencode({'src': name + '.webm', 'duration': f'{duration:.3f}',
                                    'width': width, 'height': height})
    try:
        verdict = play(chromium, f'http://127.0.0.1:{server.server_port}/page.html?{query}', work)
    finally:
        server.shutdown()
    print(f'{name}.webm: {verdict}')  # PASS: metadata, duration, size, seek, ended
    return verdict != 'PASS'


if __name__ == '__main__':
    parser = argparse.ArgumentParser()
    parser.add_argument('--list', action='store_true')
    parser.add_argument('--kxmux')
    parser.add_argument('--work')
    parser.add_argument('case', nargs='?', choices=sorted(CASES))
    cli = parser.parse_args()
    sys.exit(print('\n'.join(CASES)) if cli.list else run_case(cli, cli.case))
