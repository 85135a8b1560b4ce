#!/usr/bin/env python3
# Usage: kxmux_json.py KXMUX INPUT WORK_DIR. kxmux --json prints one JSON object that matches
# the file as mkvmerge -J (tracks, duration) and mkvinfo -a (DocType, Clusters, Cues) read it.
import json
import os
import re
import shutil
import subprocess
import sys

CASES = [  # name, kxmux options, row
    ('mkv', [], 'MKV'),
    ('kmkv_video_only', ['--format', 'KMKV', '--no-audio'], 'KMKV'),
    ('mka "quoted" \\name', ['--format', 'MKA'], 'MKA'),  # JSON escapes in the file name
    ('multi', ['--multi'], 'MKV'),  # TrackNumbers from OutStreamIndex + 1
]


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def check(kxmux, source, work, name, options, row):
    output = os.path.join(work, name + '.mkv')
    printed = run(kxmux, '--json', *options, source, output)
    summary = json.loads(printed)
    probe = json.loads(run('mkvmerge', '-J', output))
    info = run('mkvinfo', '-a', output)
    duration = probe['container']['properties']['duration'] / 1e9
    expected = {
        'file': output, 'bytes': os.path.getsize(output),
        'doc_type': re.search(r'Document type: (\w+)', info).group(1),
        # Both are read from the same Duration; kxmux rounds to the millisecond.
        'duration_seconds': summary['duration_seconds']
        if abs(summary['duration_seconds'] - duration) < 0.002 else duration,
        'clusters': len(re.findall(r'^\|\+ Cluster$', info, re.M)),
        'cue_points': len(re.findall(r'^\| \+ Cue point$', info, re.M)),
        'module': {'path': os.path.realpath(summary['module']['path']), 'row': row},
        'tracks': []}
    for track in probe['tracks']:
        p, kind = track['properties'], track['type']
        entry = {'number': p['number'], 'track_type': {'video': 1, 'audio': 2}[kind],
                 'type': kind, 'codec_id': p['codec_id']}
        if kind == 'video':
            entry['width'], entry['height'] = map(int, p['pixel_dimensions'].split('x'))
        else:
            entry.update(sampling_frequency=p['audio_sampling_frequency'],
                         channels=p['audio_channels'])
        expected['tracks'].append(entry)
    if summary != expected or not os.path.basename(expected['module']['path']).startswith('libkx'):
        sys.exit(f'FAIL {name}: kxmux --json printed\n{json.dumps(summary, indent=1)}\n'
                 f'but the file holds\n{json.dumps(expected, indent=1)}')
    print(f'ok: {name}: {printed.strip()}')


kxmux_path, source_path, work_dir = sys.argv[1:4]
shutil.rmtree(work_dir, ignore_errors=True)
os.makedirs(work_dir)
for case in CASES:
    check(kxmux_path, source_path, work_dir, *case)
