#!/usr/bin/env python3
"""Checks of the module's exports and of its Windows build (kx_mkv.dll): the
export and import tables, and the scenario host's reports, logs and files
with the Linux module and under wine, which must be equal (apart from the
DateUTC value).

Usage: windows.py symbols LIBRARY | tables DLL | wine PREFIX PROGRAM ARGS... |
       scenarios PREFIX WIN_BIN WORK LINUX_HOST MODULE_SO
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

SYSTEM_DLLS = re.compile(r'(kernel32|msvcrt|user32|advapi32|ntdll|ucrtbase|api-ms-win-.*)\.dll',
                         re.I)


def fail(message):
    print('FAIL: ' + message)
    sys.exit(1)


def symbols(library):
    dump = subprocess.run(['nm', '-D', '--defined-only', library], capture_output=True,
                          text=True, check=True).stdout
    found = sorted(line.split()[-1].split('@')[0] for line in dump.splitlines())
    if found != ['GetFileFormats', 'GetFileMultiStreamFormats']:
        fail(f'{library} exports {found}')
    print(f'ok: {found}')


def tables(dll):
    dump = subprocess.run(['x86_64-w64-mingw32-objdump', '-p', dll], capture_output=True,
                          text=True, check=True).stdout
    base = int(re.search(r'Ordinal Base (\d+)', dump).group(1))
    names = re.search(r'\[Ordinal/Name Pointer\] Table\n((?:\t\[.*\n)*)', dump).group(1)
    # objdump prints the ordinal or, in older versions, the index from the base.
    exports = [(n, int(i) + (base if int(i) < base else 0))
               for i, n in re.findall(r'\[\s*(\d+)\] (\w+)', names)]
    ordinals = [int(o) for o in re.findall(r'\+base\[\s*(\d+)\]', dump)]
    if exports != [('GetFileFormats', 2), ('GetFileMultiStreamFormats', 3)] or ordinals != [2, 3]:
        fail(f'exports {exports} at ordinals {ordinals}: GetFileFormats @2 and '
             'GetFileMultiStreamFormats @3 expected, nothing else')
    imports = {dll: sorted(f'#{int(hint)}' if name == '<none>' else name
                           for hint, name in re.findall(r'^\t[0-9a-f]+\s+(\d+)\s+(\S+)',
                                                        entries, re.M))
               for dll, entries in re.findall(r'DLL Name: (\S+)\n.*\n((?:\t.*\n)*)', dump)}
    want = {'YR_Log.DLL': ['#1', '#2'], 'YR_Utility.dll': ['cpu_num_processors']}
    if {dll: imports.get(dll) for dll in want} != want or \
            not all(dll in want or SYSTEM_DLLS.fullmatch(dll) for dll in imports):
        fail(f'imports {imports}: YR_Log.DLL by ordinals 1 and 2, YR_Utility.dll '
             'cpu_num_processors by name and system DLLs expected')
    print(f'ok: exports {exports}, imports from {sorted(imports)}')


def wine(prefix, program, *args, log=None):
    env = dict(os.environ, WINEPREFIX=prefix, WINEARCH='win64', WINEDEBUG='-all',
               WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d', LC_ALL='C.UTF-8')
    env.pop('DISPLAY', None)
    if log:
        env['YR_LOG_FILE'] = log
    # Through a file: a wineserver that outlives the program must not hold
    # CTest's output pipe open.
    os.makedirs(prefix, exist_ok=True)
    with tempfile.TemporaryFile() as f:
        status = subprocess.run(['wine', program, *args], stdout=f, stderr=f,
                                stdin=subprocess.DEVNULL, env=env).returncode
        f.seek(0)
        sys.stdout.write(f.read().decode(errors='replace').replace('\r', ''))
    return status


def winpath(path):
    return 'Z:' + path.replace('/', '\\')


def masked(path):
    """A file's bytes with the DateUTC value (after the first 44 61 88) zeroed."""
    data = open(path, 'rb').read()
    at = data.find(b'\x44\x61\x88') + 3
    return data[:at] + bytes(len(data[at:at + 8])) + data[at + 8:] if at > 2 else data


def scenarios(prefix, win_bin, work, linux_host, module_so):
    shutil.rmtree(work, ignore_errors=True)
    runs = []
    for side in ('linux', 'wine'):
        out, log, report = (os.path.join(work, side + end) for end in ('/', '.log', '.report'))
        os.makedirs(out)
        if side == 'linux':
            status = subprocess.run([linux_host, module_so, out, report],
                                    env=dict(os.environ, YR_LOG_FILE=log)).returncode
        else:
            status = wine(prefix, os.path.join(win_bin, 'scenario_host.exe'),
                          winpath(os.path.join(win_bin, 'kx_mkv.dll')), winpath(out),
                          winpath(report), log=winpath(log))
        if status != 0:
            fail(f'the {side} scenario host exited with {status}')
        text = open(log, errors='replace').read().replace(winpath(out), '<out>/')
        runs.append((open(report, 'rb').read(), text.replace(out, '<out>/').replace('\\', '/'),
                     {os.path.relpath(os.path.join(d, n), out): masked(os.path.join(d, n))
                      for d, _, names in os.walk(out) for n in names}))
    (report, log, files), wine_run = runs
    for what, linux, windows in zip(('reports', 'logs'), runs[0], wine_run):
        if linux != windows:
            fail(f'the {what} differ:\n{linux}\n--- wine:\n{windows}')
    # Every file the module took (a handle, or a successful init) exists,
    # and there are some.
    taken = report.count(b'handle=1') + report.count(b'init=1')
    differ = [name for name in files if files[name] != wine_run[2].get(name)]
    if not files or len(files) != taken or files != wine_run[2]:
        fail(f'{taken} files taken; Linux wrote {sorted(files)}, wine {sorted(wine_run[2])}; '
             f'they differ apart from DateUTC: {differ}')
    print(f'ok: {len(files)} files, the report and {log.count(chr(10))} log lines equal')


if __name__ == '__main__':
    command, args = sys.argv[1], sys.argv[2:]
    if command == 'wine':
        sys.exit(wine(*args))
    globals()[command](*args)
