#!/usr/bin/env python3
"""Files written through kxmux and the kx_mkv module, checked by real readers.

A mux case encodes a short input with ffmpeg's test sources, remuxes it with
kxmux and checks the file: `ffprobe -v error` and `mkvinfo` silent;
`mkvmerge -J` with every track, its CodecID, number and the TrackEntry values
a reader depends on; every track's packets (`ffprobe -show_packets
-show_data`) equal to the input's as the module's rules transform them, with
times exact to the module's millisecond arithmetic; an ffmpeg decode; the
cluster grid, SeekHead and Cues as `mkvinfo -a -P` lists them; a seek to the
middle. A CLI case runs one of kxmux's failure paths.

Usage: conformance.py --list | --kxmux PATH --work DIR CASE
"""

import argparse
import dataclasses
import fcntl
import json
import math
import os
import re
import signal
import subprocess
import sys
import time
from fractions import Fraction
from typing import Callable, Dict, List, Optional

DURATION = '2.4'
AUDIO_SRC = ['-f', 'lavfi', '-i',
             f'sine=frequency=440:beep_factor=4:sample_rate=48000:duration={DURATION}']


def av(rate: str) -> List[str]:
    return ['-f', 'lavfi', '-i', f'testsrc2=size=320x240:rate={rate}:duration={DURATION}',
            *AUDIO_SRC, '-map', '0:v', '-map', '1:a']


# 25 fps puts starts on multiples of the 300 ms grid; frames of 40.5 ms put
# every other start on a half millisecond, where a rounding fault shows.
AV, AV_HALF_MS = av('25'), av('2000/81')
A_ONLY = AUDIO_SRC + ['-map', '0:a']
# A key frame every 12 frames (480 ms, several cue points) and B-frames, so
# that decode and presentation order differ.
X264 = ['-c:v', 'libx264', '-preset', 'veryfast', '-bf', '2', '-g', '12', '-keyint_min', '12',
        '-sc_threshold', '0', '-pix_fmt', 'yuv420p']
VPX = ['-deadline', 'realtime', '-cpu-used', '8', '-b:v', '300k', '-g', '12']
AAC, OPUS, VORBIS = (['-c:a', 'aac', '-b:a', '64k'], ['-c:a', 'libopus', '-b:a', '64k'],
                     ['-c:a', 'libvorbis', '-q:a', '2'])
BITEXACT = ['-map_metadata', '-1', '-fflags', '+bitexact', '-flags:v', '+bitexact',
            '-flags:a', '+bitexact']

INPUTS: Dict[str, List[str]] = {
    'h264_aac.mp4': AV_HALF_MS + X264 + AAC,
    'h264_slices_aac.mp4': AV_HALF_MS + X264 + ['-x264-params', 'slices=3'] + AAC,
    'h264_sar_aac.mp4': AV_HALF_MS + X264 + ['-vf', 'setsar=4/3'] + AAC,  # displays as 16:9
    # Annex B H.264 with delimiters and in-band parameter sets, ADTS AAC.
    'h264_aac.ts': AV + X264 + ['-aud', '1'] + AAC,
    'h264_ac3.mkv': AV + X264 + ['-c:a', 'ac3', '-b:a', '96k'],
    'mpeg4_mp3.mkv': AV + ['-c:v', 'mpeg4', '-q:v', '5', '-bf', '1', '-g', '12', '-c:a',
                           'libmp3lame', '-b:a', '64k'],
    'mpeg2_mp2.mpg': AV + ['-c:v', 'mpeg2video', '-q:v', '5', '-bf', '2', '-g', '12', '-c:a',
                           'mp2', '-b:a', '128k'],
    'mpeg1_pcm.mkv': AV + ['-c:v', 'mpeg1video', '-q:v', '5', '-bf', '0', '-g', '12', '-c:a',
                           'pcm_s16le'],
    'vp8_vorbis.webm': AV + ['-c:v', 'libvpx'] + VPX + VORBIS,
    'vp9_vorbis.webm': AV + ['-c:v', 'libvpx-vp9'] + VPX + VORBIS,  # for the WEBM row
    'vp9_opus.webm': AV + ['-c:v', 'libvpx-vp9'] + VPX + OPUS,
    'vp9_aac.mkv': AV + ['-c:v', 'libvpx-vp9'] + VPX + AAC,
    'av1_opus.mkv': AV + ['-c:v', 'libaom-av1', '-usage', 'realtime', '-cpu-used', '8', '-b:v',
                          '300k', '-g', '12'] + OPUS,
    'hevc_aac.mp4': AV_HALF_MS + ['-c:v', 'libx265', '-preset', 'ultrafast', '-x265-params',
                          'keyint=12:min-keyint=12:bframes=2:scenecut=0:log-level=error'] + AAC,
    'aac.m4a': A_ONLY + AAC,
    'mp3.mp3': A_ONLY + ['-c:a', 'libmp3lame', '-b:a', '64k'],
    'ac3.ac3': A_ONLY + ['-c:a', 'ac3', '-b:a', '96k'],
    'opus.opus': A_ONLY + OPUS,
    'vorbis.ogg': A_ONLY + VORBIS,
    'pcm.wav': A_ONLY + ['-c:a', 'pcm_s16le'],
    'dts.mkv': A_ONLY + ['-c:a', 'dca', '-strict', '-2', '-ac', '2'],
    'long_h264.ts': ['-f', 'lavfi', '-i', 'testsrc2=size=64x48:rate=25:duration=120', '-c:v',
                     'libx264', '-preset', 'ultrafast', '-g', '25'],
}


class Failure(Exception):
    pass


def run(cmd, check=True, **kwargs) -> subprocess.CompletedProcess:
    proc = subprocess.run(cmd, capture_output=True, check=False, **kwargs)
    if check and proc.returncode != 0:
        raise Failure(f'{" ".join(cmd)} exited with {proc.returncode}: '
                      f'{proc.stderr.decode(errors="replace").strip()[-1500:]}')
    return proc


def silent(cmd):
    """Runs a reader that must neither fail nor say anything on stderr."""
    proc = run(cmd, check=False)
    if proc.returncode != 0 or proc.stderr.strip():
        raise Failure(f'{cmd[0]}: {proc.stderr.decode(errors="replace").strip()[:600]}')
    return proc


def probe(path: str, *args) -> dict:
    return json.loads(run(['ffprobe', '-v', 'error', *args, '-of', 'json', path]).stdout)


def make_input(work: str, name: str, command: List[str], edit=None) -> str:
    """Encodes an input once per build tree; cases running in parallel that
    share it wait on a lock, and a changed command encodes it again."""
    directory = os.path.join(work, 'inputs')
    os.makedirs(directory, exist_ok=True)
    path = os.path.join(directory, name)
    cmd = ['ffmpeg', '-nostdin', '-v', 'error', '-y'] + command + BITEXACT
    with open(path + '.lock', 'w') as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        try:
            with open(path + '.cmd') as f:
                if f.read() == repr(cmd) and os.path.exists(path):
                    return path
        except OSError:
            pass
        tmp = os.path.join(directory, 'tmp-' + name)
        run(cmd + [tmp])
        if edit:
            edit(tmp)
        os.replace(tmp, path)
        with open(path + '.cmd', 'w') as f:
            f.write(repr(cmd))
    return path


# ---------------------------------------------------------------------------
# Packets, and what the module's rules make of them

@dataclasses.dataclass
class Packet:
    time: int   # pts (else dts) in the stream's time base; ms for Matroska
    host: int   # the start kxmux hands the module, in 100-ns units
    key: bool
    data: bytes


def rescale(value: int, time_base: Fraction) -> int:
    """av_rescale_q into 100-ns units: to nearest, halves away from zero."""
    exact = value * time_base * 10_000_000
    whole = int(abs(exact) + Fraction(1, 2))
    return whole if exact >= 0 else -whole


def read_packets(path: str, selector: str) -> List[Packet]:
    info = probe(path, '-select_streams', selector, '-show_streams', '-show_packets',
                 '-show_data')
    if not info.get('streams'):
        raise Failure(f'{path} has no stream {selector}')
    time_base = Fraction(info['streams'][0]['time_base'])
    packets = []
    for p in info.get('packets', []):
        data = b''.join(bytes.fromhex(line.split(':', 1)[1][:41].replace(' ', ''))
                        for line in p.get('data', '').splitlines() if ':' in line)
        if len(data) != int(p['size']):
            raise Failure(f'{path} {selector}: ffprobe shows {len(data)} of {p["size"]} bytes')
        time = int(p['pts'] if p.get('pts') not in (None, 'N/A') else p['dts'])
        packets.append(Packet(time, rescale(time, time_base), 'K' in p.get('flags', ''), data))
    return packets


def extradata(path: str, selector: str) -> bytes:
    info = probe(path, '-select_streams', selector, '-show_streams', '-show_data')['streams'][0]
    return b''.join(bytes.fromhex(line.split(':', 1)[1][:41].replace(' ', ''))
                    for line in info.get('extradata', '').splitlines() if ':' in line)


def ms(host_time: int) -> int:
    """The module's conversion: (t + 5000) / 10000, truncating toward zero."""
    value = host_time + 5000
    return value // 10000 if value >= 0 else -(-value // 10000)


@dataclasses.dataclass
class Block:
    start: int      # 100-ns, as handed to the module
    key: bool       # the key flag handed to the module
    data: bytes


def nal_units(data: bytes, config: bytes, codec: str) -> List[bytes]:
    """The NAL units of an H.264/HEVC sample: length-prefixed when the input's
    configuration is a record (first byte 1, with its field size), else
    Annex B."""
    units = []
    if config[:1] == b'\x01':
        field, pos = (config[4 if codec == 'h264' else 21] & 3) + 1, 0
        while pos < len(data):
            length = int.from_bytes(data[pos:pos + field], 'big')
            units.append(data[pos + field:pos + field + length])
            pos += field + length
    else:
        starts = [m.end() for m in re.finditer(b'\x00\x00\x01', data)] + [len(data) + 3]
        units = [data[a:b - 3].rstrip(b'\x00') for a, b in zip(starts, starts[1:])]
    return [u for u in units if u]


def prefixed(units: List[bytes]) -> bytes:
    return b''.join(len(u).to_bytes(4, 'big') + u for u in units)


def expect_same(packets, _config, _codec):
    return [Block(p.host, p.key, p.data) for p in packets if p.data]


def expect_h264_conversion(packets, config, codec):
    """H264 with start codes: one block per sample, length-prefixed, keeping
    slices, parameter sets and delimiters (types 1, 5, 7, 8, 9)."""
    blocks = []
    for p in packets:
        kept = [u for u in nal_units(p.data, config, codec) if u[0] & 0x1F in (1, 5, 7, 8, 9)]
        if kept:
            blocks.append(Block(p.host, p.key, prefixed(kept)))
    return blocks


def expect_h264_nal_units(packets, config, codec):
    """I264: a block per slice with the sample's times, key when IDR; the
    other units are dropped."""
    return [Block(p.host, u[0] & 0x1F == 5, prefixed([u])) for p in packets
            for u in nal_units(p.data, config, codec) if u[0] & 0x1F in (1, 5)]


def expect_length_prefixed(packets, config, codec):
    """K264, havc: stored as kxmux hands them, with 4-byte lengths."""
    return [Block(p.host, p.key, prefixed(nal_units(p.data, config, codec))) for p in packets]


def expect_hevc(packets, config, codec):
    """HEVC: VPS, SPS and PPS leave the samples; the key flag follows the
    last unit kept (IDR or CRA)."""
    blocks = []
    for p in packets:
        kept = [u for u in nal_units(p.data, config, codec)
                if (u[0] >> 1) & 0x3F not in (32, 33, 34)]
        if kept:
            blocks.append(Block(p.host, (kept[-1][0] >> 1) & 0x3F in (19, 20, 21), prefixed(kept)))
    return blocks


def expect_adts_stripped(packets, _config, _codec):
    """ADTS AAC: kxmux hands the raw frames, without the 7- or 9-byte header."""
    return [Block(p.host, True, p.data[7 if p.data[1] & 1 else 9:]) for p in packets]


def expect_mpeg4_vol_in_band(packets, config, _codec):
    """MPEG-4 Part 2: kxmux puts the configuration (VOL) in front of every key
    frame without one, as the module writes no CodecPrivate for it."""
    def has_vol(data):
        return any(0x20 <= data[m.end()] <= 0x2F for m in re.finditer(b'\x00\x00\x01', data[:-1]))
    return [Block(p.host, p.key, config + p.data if p.key and not has_vol(p.data) else p.data)
            for p in packets]


def reference_flags(blocks: List[Block]) -> List[bool]:
    """Key flags as a reader sees BlockGroups: key unless a ReferenceBlock is
    written, which happens for a non-key frame and for a frame starting where
    the previous one did, once the track has a start of 0 or more."""
    flags, last = [], -1
    for b in blocks:
        flags.append(not ((not b.key or last == b.start) and last >= 0))
        last = b.start
    return flags


# ---------------------------------------------------------------------------
# Cases

@dataclasses.dataclass
class Track:
    selector: str       # ffprobe stream selector, the same in input and output
    codec_id: str
    number: int         # TrackNumber
    expect: Callable = expect_same


def video(codec_id, expect=expect_same, selector='v:0', number=2):
    return Track(selector, codec_id, number, expect)


def audio(codec_id, expect=expect_same, selector='a:0', number=3):
    return Track(selector, codec_id, number, expect)


@dataclasses.dataclass
class MuxCase:
    name: str
    input: str
    args: List[str]
    tracks: List[Track]
    ext: str = '.mkv'
    simple_blocks: bool = False     # SimpleBlocks carry the key flag themselves
    # check name -> text of a failure that a reader's known limit causes
    # (each has its entry in docs/compatibility.md).
    known: Dict[str, str] = dataclasses.field(default_factory=dict)
    record: Optional[Callable] = None  # further check of (file, input, case)
    encode: Optional[List[str]] = None  # ffmpeg arguments, for an input not in INPUTS
    edit: Optional[Callable] = None     # changes the encoded input file in place


AVC = 'V_MPEG4/ISO/AVC'
SLICE_DECODE = 'illegal short term buffer state detected'  # one block per slice

MUX_CASES = [
    MuxCase('mkv_h264_aac', 'h264_aac.mp4', [], [video(AVC, expect_h264_conversion),
                                                 audio('A_AAC')]),
    MuxCase('mkv_h264_ts_conversion', 'h264_aac.ts', [],
            [video(AVC, expect_h264_conversion), audio('A_AAC', expect_adts_stripped)]),
    MuxCase('mkv_i264_aac', 'h264_aac.mp4', ['--video-fourcc', 'I264'],
            [video(AVC, expect_h264_nal_units), audio('A_AAC')]),
    MuxCase('mkv_i264_slices', 'h264_slices_aac.mp4', ['--video-fourcc', 'I264'],
            [video(AVC, expect_h264_nal_units), audio('A_AAC')],
            known={'decode': SLICE_DECODE, 'decode_after_seek': SLICE_DECODE}),
    MuxCase('mkv_h264_display_aspect', 'h264_sar_aac.mp4', [],
            [video(AVC, expect_h264_conversion), audio('A_AAC')]),
    MuxCase('mkv_xvid_mp3', 'mpeg4_mp3.mkv', [],
            [video('V_MPEG4/ISO/ASP', expect_mpeg4_vol_in_band), audio('A_MPEG/L3')]),
    MuxCase('mkv_vp9_opus', 'vp9_opus.webm', [], [video('V_VP9'), audio('A_OPUS')]),
    MuxCase('mkv_av1_opus', 'av1_opus.mkv', [], [video('V_AV1'), audio('A_OPUS')]),
    MuxCase('mkv_hevc_aac', 'hevc_aac.mp4', [], [video('V_MPEGH/ISO/HEVC', expect_hevc),
                                                 audio('A_AAC')]),
    MuxCase('kmkv_i264_ac3', 'h264_ac3.mkv', ['--format', 'KMKV'],
            [video(AVC, expect_h264_nal_units), audio('A_AC3')]),
    MuxCase('kmkv_k264_ac3', 'h264_ac3.mkv', ['--format', 'KMKV', '--video-fourcc', 'K264'],
            [video(AVC, expect_length_prefixed), audio('A_AC3')]),
    MuxCase('kmkv_vp9_aac', 'vp9_aac.mkv', ['--format', 'KMKV'], [video('V_VP9'), audio('A_AAC')]),
    MuxCase('hmkv_havc_ac3', 'h264_ac3.mkv', ['--format', 'HMKV', '--video-fourcc', 'havc'],
            [video(AVC, expect_length_prefixed), audio('A_AC3')]),
    MuxCase('hmkv_i264_ac3', 'h264_ac3.mkv', ['--format', 'HMKV'],
            [video(AVC, expect_h264_nal_units), audio('A_AC3')]),
    MuxCase('any_mpeg2_mp2', 'mpeg2_mp2.mpg', ['--any-codec'],
            [video('V_MPEG2'), audio('A_MPEG/L2')]),
    MuxCase('any_mpeg1_pcm', 'mpeg1_pcm.mkv', ['--any-codec'],
            [video('V_MPEG1'), audio('A_PCM/INT/LIT')]),
    MuxCase('any_vp8_vorbis', 'vp8_vorbis.webm', ['--any-codec'],
            [video('V_VP8'), audio('A_VORBIS')]),
    MuxCase('mka_aac', 'aac.m4a', [], [audio('A_AAC')], ext='.mka'),
    MuxCase('mka_mp3', 'mp3.mp3', [], [audio('A_MPEG/L3')], ext='.mka'),
    MuxCase('mka_ac3', 'ac3.ac3', [], [audio('A_AC3')], ext='.mka'),
    MuxCase('mka_opus', 'opus.opus', [], [audio('A_OPUS')], ext='.mka'),
    MuxCase('mka_from_video_input', 'h264_aac.mp4', [], [audio('A_AAC')], ext='.mka'),
    MuxCase('mka_any_vorbis', 'vorbis.ogg', ['--any-codec'], [audio('A_VORBIS')], ext='.mka'),
    MuxCase('mka_any_pcm', 'pcm.wav', ['--any-codec'], [audio('A_PCM/INT/LIT')], ext='.mka'),
    MuxCase('mka_any_dts', 'dts.mkv', ['--any-codec'], [audio('A_DTS')], ext='.mka'),
]


# ---------------------------------------------------------------------------
# Checks of a written file

def check_mkvmerge(out, inp, case):
    report = json.loads(run(['mkvmerge', '-J', out], check=False).stdout or b'{}')
    container = report.get('container', {})
    if report.get('errors') or report.get('warnings') or not container.get('supported'):
        raise Failure(f'mkvmerge: {report.get("errors")} {report.get("warnings")}')
    found = [(t['properties'].get('codec_id'), t['properties'].get('number'))
             for t in report.get('tracks', [])]
    wanted = [(t.codec_id, t.number) for t in case.tracks]
    if found != wanted:
        raise Failure(f'mkvmerge reads tracks (CodecID, number) {found}, expected {wanted}')
    for track, entry in zip(case.tracks, report['tracks']):
        got, source = entry['properties'], probe(inp, '-select_streams', track.selector,
                                                 '-show_streams')['streams'][0]
        if source['codec_type'] == 'video':
            rate = Fraction(source['avg_frame_rate'])
            w, h = source['width'], source['height']
            g = math.gcd(w, h)
            want = {'pixel_dimensions': f'{w}x{h}', 'default_duration': int(1e9 / float(rate)),
                    'display_aspect_ratio': source.get('display_aspect_ratio', f'{w // g}:{h // g}')}
            got['display_aspect_ratio'] = probe(out, '-select_streams', track.selector,
                                                '-show_streams')['streams'][0].get(
                                                    'display_aspect_ratio')
        else:
            want = {'audio_sampling_frequency': int(source['sample_rate']),
                    'audio_channels': source['channels']}
            if track.codec_id in ('A_AAC', 'A_OPUS', 'A_VORBIS') and extradata(inp, track.selector):
                want['codec_private_data'] = extradata(inp, track.selector).hex()
        wrong = {k: (got.get(k), v) for k, v in want.items() if got.get(k) != v}
        if wrong:
            raise Failure(f'track {track.number}: (read, expected) {wrong}')


def compare_packets(out, inp, case):
    expected = []
    for track in case.tracks:
        codec = probe(inp, '-select_streams', track.selector, '-show_streams')['streams'][0]
        blocks = track.expect(read_packets(inp, track.selector), extradata(inp, track.selector),
                              codec['codec_name'])
        if not blocks:
            raise Failure(f'{track.selector}: the input yields no blocks')
        expected.append(blocks)
    # Times count from the earliest first block of a track.
    base = min(ms(blocks[0].start) for blocks in expected)
    problems = []
    for track, blocks in zip(case.tracks, expected):
        got = read_packets(out, track.selector)
        keys = [b.key for b in blocks] if case.simple_blocks else reference_flags(blocks)
        if track.codec_id == AVC:
            # FFmpeg's H.264 parser flags every packet with an IDR slice as key.
            keys = [k or any(u[0] & 0x1F == 5 for u in nal_units(b.data, b'\x01' + b'\xff' * 4,
                                                                   'h264'))
                    for k, b in zip(keys, blocks)]
        if len(got) != len(blocks):
            problems.append(f'track {track.number}: {len(got)} packets, {len(blocks)} expected')
        for i, (b, g, key) in enumerate(zip(blocks, got, keys)):
            want = (ms(b.start) - base, key, len(b.data))
            if (g.time, g.key, len(g.data)) != want or g.data != b.data:
                problems.append(f'track {track.number} packet {i}: (ms, key, size) '
                                f'{(g.time, g.key, len(g.data))}, expected {want}'
                                + ('' if g.data == b.data else ', other bytes'))
    if problems:
        raise Failure('; '.join(problems[:6]))


def parse_layout(out):
    """Top-level elements by position, Seeks, cue points and Clusters with
    their blocks, from `mkvinfo -a -P`."""
    text = run(['mkvinfo', '-a', '-P', out]).stdout.decode(errors='replace')
    elements, seeks, cues, clusters = {}, [], [], []
    seek_id, ref = None, False

    def ms_of(stamp):
        h, m, s = stamp.split(':')
        return Fraction(int(h) * 3600 + int(m) * 60) * 1000 + Fraction(s) * 1000

    for line in text.splitlines():
        m = re.match(r'^\|\+ (.+?)(?::.*)? at (\d+)$', line)
        if m:
            elements[int(m.group(2))] = m.group(1)
            if m.group(1) == 'Cluster':
                clusters.append({'pos': int(m.group(2)), 'blocks': []})
        if m := re.search(r'Seek ID: .*\((Kax\w+)\)', line):
            seek_id = m.group(1)
        elif m := re.search(r'Seek position: (\d+)', line):
            seeks.append((seek_id, int(m.group(1))))
        elif '+ Cue point' in line:
            cues.append({})
        elif m := re.search(r'Cue (time|track|cluster position|relative position|block number)'
                            r': ([\d:.]+)', line):
            cues[-1][m.group(1)] = ms_of(m.group(2)) if m.group(1) == 'time' else int(m.group(2))
        elif m := re.search(r'Cluster timestamp: ([\d:.]+)', line):
            clusters[-1]['time'] = ms_of(m.group(1))
        elif '+ Block group' in line:
            ref = False
        elif 'Reference block' in line:
            ref = True
        elif m := re.search(r'(Simple)?[Bb]lock: (key, )?.*track number (\d+).*timestamp ([\d:.]+)',
                            line):
            clusters[-1]['blocks'].append((int(m.group(3)), ms_of(m.group(4)),
                                           bool(m.group(2)) if m.group(1) else not ref))
    return elements, seeks, cues, clusters


KAX_NAMES = {'KaxInfo': 'Segment information', 'KaxTracks': 'Tracks', 'KaxCues': 'Cues',
             'KaxSeekHead': 'Seek head', 'KaxCluster': 'Cluster'}


def check_layout(out, inp, case):
    elements, seeks, cues, clusters = parse_layout(out)
    info = min((p for p, name in elements.items() if name == 'Segment information'), default=0)
    data_start = info - dict(seeks).get('KaxInfo', info)
    for kax, pos in seeks:
        if elements.get(data_start + pos) != KAX_NAMES.get(kax, kax):
            raise Failure(f'Seek for {kax} points at {data_start + pos}: '
                          f'{elements.get(data_start + pos, "no top-level element")}')
    # The 300 ms grid: a Cluster opens for a block that lies past the end of
    # the one before, on the step that holds it, and no block lies past the
    # end of its own Cluster.
    end = -1
    for c in clusters:
        first, last = c['blocks'][0][1], max(b[1] for b in c['blocks'])
        if c['time'] % 300 or last > c['time'] + 300 or first <= end or \
                not (c['time'] < first if end >= 0 else c['time'] == first == 0):
            raise Failure(f'Cluster {c["time"]} ms holds blocks from {first} to {last} ms')
        end = c['time'] + 300
    # One cue point per Cluster with a key frame of the cue track (the video
    # track; none without video), on its first, numbered among that track's
    # blocks unless it is the Cluster's first block.
    cue_track = next((t.number for t in case.tracks if t.selector.startswith('v')), None)
    want = []
    for c in clusters:
        ours = [b for b in c['blocks'] if b[0] == cue_track]
        key = next((i for i, b in enumerate(ours) if b[2]), None)
        if key is not None:
            number = None if c['blocks'][0] == ours[key] else key + 1
            want.append({'time': ours[key][1], 'track': cue_track,
                         'cluster position': c['pos'] - data_start, 'block number': number})
    got = [{**{'block number': None}, **{k: v for k, v in c.items() if k != 'relative position'}}
           for c in cues]
    if got != want:
        raise Failure(f'cue points {got[:4]}..., expected {want[:4]}...')
    # A seek to the middle lands on the last key frame at or before it;
    # without cues FFmpeg searches the Clusters and may land up to 500 ms early.
    first = case.tracks[0]
    keys = sorted(p.time for p in read_packets(out, first.selector) if p.key)
    middle = max(b[1] for c in clusters for b in c['blocks']) / 2
    landed = probe(out, '-read_intervals', f'{float(middle) / 1000:.3f}%+#1', '-select_streams',
                   first.selector, '-show_entries', 'packet=pts,flags').get('packets', [])
    before = [k for k in keys if k <= middle] or [None]
    at = int(landed[0]['pts']) if landed and 'K' in landed[0]['flags'] else None
    if at not in keys or not before[-1] - (0 if cues else 500) <= at <= before[-1]:
        raise Failure(f'seeking to {float(middle):.0f} ms lands on {landed[:1]}; the last key '
                      f'frame before is at {before[-1]} ms')


def decode(out, *seek):
    silent(['ffmpeg', '-nostdin', '-v', 'error', *seek, '-i', out, '-fps_mode', 'passthrough',
            '-enc_time_base', '-1', '-f', 'null', '-'])


def check_decode_after_seek(out, _inp, _case):
    decode(out, '-ss', str(float(probe(out, '-show_entries', 'format=duration')['format']
                                 ['duration']) / 2))


def check_mkvinfo(out, _inp, _case):
    proc = run(['mkvinfo', '-a', out], check=False)
    bad = [line for line in (proc.stdout + proc.stderr).decode(errors='replace').splitlines()
           if re.search(r'error|warning', line, re.I)]
    if proc.returncode != 0 or bad:
        raise Failure(f'mkvinfo (exit {proc.returncode}): ' + ' | '.join(bad[:5]))


CHECKS = [('ffprobe', lambda o, i, c: silent(['ffprobe', '-v', 'error', '-show_format',
                                                 '-show_streams', o])),
          ('mkvinfo', check_mkvinfo), ('mkvmerge', check_mkvmerge), ('packets', compare_packets),
          ('decode', lambda o, i, c: decode(o)), ('layout', check_layout),
          ('decode_after_seek', check_decode_after_seek)]


def run_mux_case(kxmux: str, work: str, case: MuxCase, inp: str) -> int:
    out = os.path.join(work, case.name, case.name + case.ext)
    for stale in (out, out + '.part'):
        if os.path.exists(stale):
            os.remove(stale)
    proc = run([kxmux, '-q', *case.args, inp, out], check=False)
    if proc.returncode != 0 or os.path.exists(out + '.part') or not os.path.exists(out):
        print(f'FAIL kxmux exited with {proc.returncode} (OUTPUT.part left: '
              f'{os.path.exists(out + ".part")}): {proc.stderr.decode(errors="replace")}')
        return 1
    failed = 0
    for name, check in CHECKS + ([('record', case.record)] if case.record else []):
        try:
            check(out, inp, case)
            print(f'{"NOTE" if name in case.known else "ok"}   {name}'
                  + (': passes now; drop the known reader issue' if name in case.known else ''))
        except Failure as e:
            known = case.known.get(name)
            print(f'{"KNOWN" if known and known in str(e) else "FAIL"} {name}: {e}')
            failed += not (known and known in str(e))
    return 1 if failed else 0


# ---------------------------------------------------------------------------
# kxmux's own behaviour

@dataclasses.dataclass
class CliCase:
    name: str
    args: List[str]     # {in:NAME} an input, {out} the output, {dir} the case folder
    status: int
    stderr: str = 'error'
    log: Optional[str] = None       # text the module log (--log {dir}/log) must hold
    stdout: tuple = ()              # texts stdout must hold
    part_dir: bool = False          # OUTPUT.part is a folder: the module cannot open it


CLI_CASES = [
    CliCase('cli_bad_format', ['--format', 'AVI'], 2),
    CliCase('cli_three_files', ['a', 'b', 'c'], 2),
    CliCase('cli_unknown_option', ['--frobnicate'], 2),
    CliCase('cli_option_without_value', ['--format'], 2),
    CliCase('cli_garbage_input', ['{dir}/garbage.mp4', '{out}.mkv'], 1, 'cannot'),
    CliCase('cli_missing_input', ['{dir}/missing.mp4', '{out}.mkv'], 1, 'cannot open'),
    CliCase('cli_unlisted_codec', ['{in:mpeg2_mp2.mpg}', '{out}.mkv'], 1, '--any-codec'),
    CliCase('cli_webm_lists_no_h264', ['{in:h264_aac.mp4}', '{out}.webm'], 1, '--any-codec'),
    CliCase('cli_fourcc_misfit', ['--video-fourcc', 'HEVC', '{in:h264_aac.mp4}', '{out}.mkv'],
            1, 'does not fit'),
    CliCase('cli_module_refuses', ['--log', '{dir}/log', '{in:h264_aac.mp4}', '{out}.mkv'], 1,
            'refused', log='Create media file', part_dir=True),
    CliCase('cli_module_missing', ['--module', '{dir}/none.so', '{in:h264_aac.mp4}',
                                   '{out}.mkv'], 1, 'cannot load'),
    CliCase('cli_log', ['-q', '--log', '{dir}/log', '{in:aac.m4a}', '{out}.mka'], 0, '',
            log='Return file formats'),
    CliCase('cli_sample', [], 0, '', stdout=(AVC, 'A_AAC', 'cue point', 'cluster', 'duration')),
]


def run_cli_case(kxmux: str, work: str, case: CliCase):
    folder = os.path.join(work, case.name)
    with open(os.path.join(folder, 'garbage.mp4'), 'wb') as f:
        f.write(b'this is not media\n' * 64)
    args = [re.sub(r'\{in:([^}]+)\}', lambda m: make_input(work, m.group(1), INPUTS[m.group(1)]),
                   a.replace('{out}', os.path.join(folder, 'out')).replace('{dir}', folder))
            for a in case.args]
    out = next((a for a in args if '/out.' in a), os.path.join(folder, 'out', 'sample.mkv'))
    for stale in (out, os.path.join(folder, 'log')):
        if os.path.isfile(stale):
            os.remove(stale)
    if case.part_dir:
        os.makedirs(out + '.part', exist_ok=True)
    proc = run([kxmux, *args], check=False, cwd=folder)
    err, text = proc.stderr.decode(errors='replace'), proc.stdout.decode(errors='replace')
    if proc.returncode != case.status or case.stderr not in err:
        raise Failure(f'exit {proc.returncode} (expected {case.status}), stderr: {err.strip()}')
    if case.status and (os.path.exists(out) or os.path.isfile(out + '.part')):
        raise Failure(f'{out} or a partial file exists after a failed run')
    if case.part_dir and not os.path.isdir(out + '.part'):
        raise Failure('kxmux removed a folder it did not create')
    if case.log:
        with open(os.path.join(folder, 'log'), encoding='utf-8', errors='replace') as f:
            if case.log not in f.read():
                raise Failure(f'the module log lacks "{case.log}"')
    if any(t not in text for t in case.stdout):
        raise Failure(f'stdout lacks one of {case.stdout}: {text}')
    if case.status == 0:
        decode(out)


def cli_interrupt(kxmux: str, work: str):
    """SIGINT once the module has written: exit 130, neither OUTPUT nor
    OUTPUT.part left. kxmux reads a FIFO that stays open, so it cannot end
    before the signal; closing the FIFO then wakes it to notice."""
    folder = os.path.join(work, 'cli_interrupt')
    inp, out, fifo = (make_input(work, 'long_h264.ts', INPUTS['long_h264.ts']),
                      os.path.join(folder, 'out.mkv'), os.path.join(folder, 'input.ts'))
    if os.path.exists(fifo):
        os.remove(fifo)
    os.mkfifo(fifo)
    proc = subprocess.Popen([kxmux, '-q', fifo, out], stderr=subprocess.PIPE)
    with open(fifo, 'wb') as pipe, open(inp, 'rb') as source:
        pipe.write(source.read())
        pipe.flush()
        while proc.poll() is None and not (os.path.exists(out + '.part')
                                           and os.path.getsize(out + '.part') > 0):
            time.sleep(0.01)
        proc.send_signal(signal.SIGINT)
    err = proc.communicate()[1].decode(errors='replace')
    if proc.returncode != 130 or 'interrupted' not in err:
        raise Failure(f'exit {proc.returncode}, expected 130: {err.strip()}')
    if os.path.exists(out) or os.path.exists(out + '.part'):
        raise Failure('the output or OUTPUT.part exists after the interrupt')


def main(mux_cases=None) -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('--list', action='store_true')
    parser.add_argument('--kxmux')
    parser.add_argument('--work')
    parser.add_argument('case', nargs='?')
    args = parser.parse_args()
    mux = {c.name: c for c in mux_cases or MUX_CASES}
    cli = {c.name: c for c in ([] if mux_cases else CLI_CASES)}
    if args.list:
        print('\n'.join(list(mux) + list(cli) + ([] if mux_cases else ['cli_interrupt'])))
        return 0
    kxmux, work = os.path.abspath(args.kxmux), os.path.abspath(args.work)
    os.makedirs(os.path.join(work, args.case), exist_ok=True)
    try:
        if args.case in mux:
            case = mux[args.case]
            return run_mux_case(kxmux, work, case, make_input(
                work, case.input, INPUTS.get(case.input) or case.encode, case.edit))
        if args.case in cli:
            run_cli_case(kxmux, work, cli[args.case])
        else:
            cli_interrupt(kxmux, work)
    except Failure as e:
        print(f'FAILED: {e}')
        return 1
    print('ok')
    return 0


if __name__ == '__main__':
    sys.exit(main())
