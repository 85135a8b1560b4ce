#!/usr/bin/env python3
"""Conformance suite for files written through kxmux and the kx_mkv module.

Every mux case encodes a short input with the ffmpeg command line from FFmpeg's
test sources (testsrc2, sine), remuxes it with kxmux through one catalogue row
of the module, and checks the file with independent readers:

  * kxmux succeeds and leaves no OUTPUT.part behind;
  * `ffprobe -v error` and `mkvinfo` report nothing;
  * `mkvmerge -J` recognises the file and every track with the expected CodecID;
  * the packets read back (count, size, MD5 of the data, timestamps within
    1 ms, key-frame flags) equal the input's packets, transformed only where
    the module's rules change them (see the expect_* functions);
  * `ffmpeg -v error -i OUT -f null -` decodes without a message;
  * SeekHead and Cues point at the elements they name, every cue point is a
    key frame of its track, and a seek to the middle lands on the last key
    frame at or before the asked time.

Further cases run kxmux's failure paths (usage, unreadable input, unlisted
codec, a module that refuses the file, interruption).

A reader that rejects a file written by the module's rules is recorded in
KNOWN_READER_ISSUES and docs/compatibility.md; such a check is reported as
known instead of failing, and reported when it starts passing.

Usage:
  conformance.py --list
  conformance.py --kxmux PATH --work DIR [--module-objects LIB] CASE
Exit status: 0 passed, 1 failed, 77 skipped (the module part it needs is not
built yet).
"""

import argparse
import dataclasses
import fcntl
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from fractions import Fraction
from typing import Callable, Dict, List, Optional

SKIP = 77

# ---------------------------------------------------------------------------
# Inputs

DURATION = '2.4'
VIDEO_SRC = ['-f', 'lavfi', '-i', f'testsrc2=size=320x240:rate=25:duration={DURATION}']
AUDIO_SRC = ['-f', 'lavfi', '-i',
             f'sine=frequency=440:beep_factor=4:sample_rate=48000:duration={DURATION}']
AV = VIDEO_SRC + AUDIO_SRC + ['-map', '0:v', '-map', '1:a']
A_ONLY = AUDIO_SRC + ['-map', '0:a']
# A key frame every 12 frames (0.48 s), so that a 2.4 s file has several
# cue points; two B-frames so that decode and presentation order differ.
X264 = ['-c:v', 'libx264', '-preset', 'veryfast', '-bf', '2', '-g', '12', '-keyint_min', '12',
        '-sc_threshold', '0', '-pix_fmt', 'yuv420p']
GOP = ['-g', '12']
BITEXACT = ['-map_metadata', '-1', '-fflags', '+bitexact', '-flags:v', '+bitexact',
            '-flags:a', '+bitexact']

INPUTS: Dict[str, List[str]] = {
    # MP4: length-prefixed H.264 with avcC, AAC with its AudioSpecificConfig.
    'h264_aac.mp4': AV + X264 + ['-c:a', 'aac', '-b:a', '64k'],
    'h264_slices_aac.mp4': AV + X264 + ['-x264-params', 'slices=3', '-c:a', 'aac', '-b:a', '64k'],
    # 4:3 sample aspect on 320x240: a 16:9 display.
    'h264_sar_aac.mp4': AV + X264 + ['-vf', 'setsar=4/3', '-c:a', 'aac', '-b:a', '64k'],
    # MPEG-TS: Annex B H.264 with access unit delimiters and in-band
    # parameter sets, ADTS-framed AAC.
    'h264_aac.ts': AV + X264 + ['-aud', '1', '-c:a', 'aac', '-b:a', '64k'],
    'h264_ac3.mkv': AV + X264 + ['-c:a', 'ac3', '-b:a', '96k'],
    'mpeg4_mp3.mkv': AV + ['-c:v', 'mpeg4', '-q:v', '5', '-bf', '1'] + GOP
    + ['-c:a', 'libmp3lame', '-b:a', '64k'],
    'mpeg2_mp2.mpg': AV + ['-c:v', 'mpeg2video', '-q:v', '5', '-bf', '2'] + GOP
    + ['-c:a', 'mp2', '-b:a', '128k'],
    'mpeg1_pcm.mkv': AV + ['-c:v', 'mpeg1video', '-q:v', '5', '-bf', '0'] + GOP
    + ['-c:a', 'pcm_s16le'],
    'vp8_vorbis.webm': AV + ['-c:v', 'libvpx', '-deadline', 'realtime', '-cpu-used', '8',
                             '-b:v', '300k'] + GOP + ['-c:a', 'libvorbis', '-q:a', '2'],
    'vp9_vorbis.webm': AV + ['-c:v', 'libvpx-vp9', '-deadline', 'realtime', '-cpu-used', '8',
                             '-b:v', '300k'] + GOP + ['-c:a', 'libvorbis', '-q:a', '2'],
    'vp9_opus.webm': AV + ['-c:v', 'libvpx-vp9', '-deadline', 'realtime', '-cpu-used', '8',
                           '-b:v', '300k'] + GOP + ['-c:a', 'libopus', '-b:a', '64k'],
    'vp9_aac.mkv': AV + ['-c:v', 'libvpx-vp9', '-deadline', 'realtime', '-cpu-used', '8',
                         '-b:v', '300k'] + GOP + ['-c:a', 'aac', '-b:a', '64k'],
    'av1_opus.mkv': AV + ['-c:v', 'libaom-av1', '-usage', 'realtime', '-cpu-used', '8',
                          '-b:v', '300k'] + GOP + ['-c:a', 'libopus', '-b:a', '64k'],
    'hevc_aac.mp4': AV + ['-c:v', 'libx265', '-preset', 'ultrafast', '-x265-params',
                          'keyint=12:min-keyint=12:bframes=2:scenecut=0:log-level=error',
                          '-c:a', 'aac', '-b:a', '64k'],
    'aac.m4a': A_ONLY + ['-c:a', 'aac', '-b:a', '64k'],
    'mp3.mp3': A_ONLY + ['-c:a', 'libmp3lame', '-b:a', '64k'],
    'ac3.ac3': A_ONLY + ['-c:a', 'ac3', '-b:a', '96k'],
    'opus.opus': A_ONLY + ['-c:a', 'libopus', '-b:a', '64k'],
    'vorbis.ogg': A_ONLY + ['-c:a', 'libvorbis', '-q:a', '2'],
    'pcm.wav': A_ONLY + ['-c:a', 'pcm_s16le'],
    'dts.mkv': A_ONLY + ['-c:a', 'dca', '-strict', '-2', '-ac', '2'],
    # Long enough (at a tiny size) to be interrupted while kxmux works.
    'long_h264.ts': ['-f', 'lavfi', '-i', 'testsrc2=size=64x48:rate=25:duration=120',
                     '-map', '0:v', '-c:v', 'libx264', '-preset', 'ultrafast', '-g', '25'],
}


class Failure(Exception):
    pass


@dataclasses.dataclass
class Env:
    kxmux: str
    work: str
    module_objects: Optional[str]
    case_dir: str = ''


def run(cmd, check=True, **kwargs) -> subprocess.CompletedProcess:
    kwargs.setdefault('stdout', subprocess.PIPE)
    kwargs.setdefault('stderr', subprocess.PIPE)
    proc = subprocess.run(cmd, check=False, **kwargs)
    if check and proc.returncode != 0:
        err = proc.stderr.decode(errors='replace') if isinstance(proc.stderr, bytes) else proc.stderr
        raise Failure(f'{" ".join(cmd)} exited with {proc.returncode}: {err.strip()[-2000:]}')
    return proc


def make_input(env: Env, name: str) -> str:
    """Encodes an input once; parallel cases that share it wait for it."""
    directory = os.path.join(env.work, 'inputs')
    os.makedirs(directory, exist_ok=True)
    path = os.path.join(directory, name)
    cmd = ['ffmpeg', '-nostdin', '-v', 'error', '-y'] + INPUTS[name] + BITEXACT
    stamp = path + '.cmd'
    with open(path + '.lock', 'w') as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        try:
            with open(stamp) as f:
                if f.read() == repr(cmd) and os.path.exists(path):
                    return path
        except OSError:
            pass
        tmp = os.path.join(directory, 'tmp-' + name)
        run(cmd + [tmp])
        os.replace(tmp, path)
        with open(stamp, 'w') as f:
            f.write(repr(cmd))
    return path


# ---------------------------------------------------------------------------
# Reading packets

@dataclasses.dataclass
class Packet:
    pts: Optional[int]      # in the stream's time base
    dts: Optional[int]
    time_base: Fraction
    key: bool
    data: bytes

    def host_start(self) -> int:
        """The start kxmux hands the module, in 100-ns units."""
        ts = self.pts if self.pts is not None else self.dts
        return rescale_round(ts * self.time_base * 10_000_000)

    def ms(self) -> float:
        ts = self.pts if self.pts is not None else self.dts
        return float(ts * self.time_base * 1000)


def rescale_round(value: Fraction) -> int:
    """av_rescale_q's rounding: to nearest, halves away from zero."""
    sign = -1 if value < 0 else 1
    value = abs(value)
    whole = value.numerator // value.denominator
    if (value - whole) * 2 >= 1:
        whole += 1
    return sign * whole


def parse_hexdump(text: str) -> bytes:
    out = bytearray()
    for line in text.splitlines():
        if ':' not in line:
            continue
        hex_part = line.split(':', 1)[1][:41]
        out += bytes.fromhex(hex_part.replace(' ', ''))
    return bytes(out)


def stream_info(path: str, selector: str) -> dict:
    proc = run(['ffprobe', '-v', 'error', '-select_streams', selector, '-show_entries',
                'stream=codec_name,time_base,extradata,display_aspect_ratio,sample_aspect_ratio',
                '-show_data', '-of', 'json', path])
    streams = json.loads(proc.stdout)['streams']
    if not streams:
        raise Failure(f'{path} has no stream {selector}')
    info = streams[0]
    info['extradata_bytes'] = parse_hexdump(info.get('extradata', ''))
    return info


def read_packets(path: str, selector: str) -> List[Packet]:
    """The packets of one stream as FFmpeg's demuxer reads them."""
    info = stream_info(path, selector)
    time_base = Fraction(info['time_base'])
    proc = run(['ffprobe', '-v', 'error', '-select_streams', selector, '-show_entries',
                'packet=pts,dts,size,flags', '-of', 'json', path])
    listing = json.loads(proc.stdout).get('packets', [])
    data = run(['ffmpeg', '-nostdin', '-v', 'error', '-i', path, '-map', '0:' + selector,
                '-c', 'copy', '-copyinkf', '-f', 'data', '-']).stdout
    sizes = [int(p['size']) for p in listing]
    if sum(sizes) != len(data):
        raise Failure(f'{path} {selector}: ffprobe lists {sum(sizes)} bytes, ffmpeg copied '
                      f'{len(data)}')
    packets, offset = [], 0

    def number(value):
        return None if value in (None, 'N/A') else int(value)

    for p, size in zip(listing, sizes):
        packets.append(Packet(number(p.get('pts')), number(p.get('dts')), time_base,
                              'K' in p.get('flags', ''), data[offset:offset + size]))
        offset += size
    return packets


# ---------------------------------------------------------------------------
# The module's rules: what each input packet becomes in the file

@dataclasses.dataclass
class Block:
    start: int      # 100-ns, as handed to the module
    key: bool       # key-frame flag handed to the module
    data: bytes


def split_annex_b(data: bytes) -> List[bytes]:
    units, positions = [], [m.start() for m in re.finditer(b'\x00\x00\x01', data)]
    for i, pos in enumerate(positions):
        end = positions[i + 1] if i + 1 < len(positions) else len(data)
        unit = data[pos + 3:end].rstrip(b'\x00')
        if unit:
            units.append(unit)
    return units


def split_length_prefixed(data: bytes, field: int = 4) -> List[bytes]:
    units, pos = [], 0
    while pos < len(data):
        length = int.from_bytes(data[pos:pos + field], 'big')
        units.append(data[pos + field:pos + field + length])
        pos += field + length
    return [u for u in units if u]


def units_of(packet: Packet, info: dict) -> List[bytes]:
    """The NAL units of an H.264/HEVC sample. The input's configuration tells
    the framing: a record (first byte 1, avcC or hvcC) means length-prefixed
    samples with the record's field size, anything else Annex B."""
    extradata = info['extradata_bytes']
    if extradata[:1] == b'\x01':
        field = (extradata[4 if info['codec_name'] == 'h264' else 21] & 3) + 1
        return split_length_prefixed(packet.data, field)
    return split_annex_b(packet.data)


def length_prefixed(units: List[bytes]) -> bytes:
    return b''.join(len(u).to_bytes(4, 'big') + u for u in units)


def expect_same(packets, _info) -> List[Block]:
    return [Block(p.host_start(), p.key, p.data) for p in packets if p.data]


def expect_h264_conversion(packets, info) -> List[Block]:
    """H264/B264: one block per sample, length-prefixed, keeping slices,
    parameter sets and delimiters (types 1, 5, 7, 8, 9) and dropping the rest."""
    blocks = []
    for p in packets:
        kept = [u for u in units_of(p, info) if u[0] & 0x1F in (1, 5, 7, 8, 9)]
        if kept:
            blocks.append(Block(p.host_start(), p.key, length_prefixed(kept)))
    return blocks


def expect_h264_nal_units(packets, info) -> List[Block]:
    """I264 and the other NAL-unit FourCCs: every slice (types 1 and 5) is its
    own block with the sample's times, a key frame when it is an IDR slice;
    parameter sets, SEI and delimiters are dropped."""
    blocks = []
    for p in packets:
        for unit in units_of(p, info):
            nal_type = unit[0] & 0x1F
            if nal_type in (1, 5):
                blocks.append(Block(p.host_start(), nal_type == 5, length_prefixed([unit])))
    return blocks


def expect_length_prefixed(packets, info) -> List[Block]:
    """FourCCs stored as they come (K264, havc): kxmux hands them
    length-prefixed with 4-byte fields, which is what MP4/MKV inputs have."""
    return [Block(p.host_start(), p.key, length_prefixed(units_of(p, info))) for p in packets]


def expect_hevc(packets, info) -> List[Block]:
    """HEVC muxer: VPS, SPS and PPS leave the samples, every other unit stays
    length-prefixed; the key flag follows the last unit (IDR or CRA = key)."""
    blocks = []
    for p in packets:
        kept = [u for u in units_of(p, info) if (u[0] >> 1) & 0x3F not in (32, 33, 34)]
        if kept:
            blocks.append(Block(p.host_start(), (kept[-1][0] >> 1) & 0x3F in (19, 20, 21),
                                length_prefixed(kept)))
    return blocks


def expect_adts_stripped(packets, _info) -> List[Block]:
    """ADTS AAC: kxmux hands the raw frames (the 7- or 9-byte header removed)."""
    blocks = []
    for p in packets:
        header = 7 if p.data[1] & 1 else 9
        blocks.append(Block(p.host_start(), True, p.data[header:]))
    return blocks


def expect_mpeg4_vol_in_band(packets, info) -> List[Block]:
    """MPEG-4 Part 2 from MP4/MKV: kxmux puts the configuration (VOL) in front
    of every key frame that has none, as the module writes no CodecPrivate."""
    extradata = info['extradata_bytes']
    blocks = []
    for p in packets:
        has_vol = any(0x20 <= p.data[m.end()] <= 0x2F
                      for m in re.finditer(b'\x00\x00\x01', p.data[:-1]) if m.end() < len(p.data))
        data = extradata + p.data if p.key and extradata and not has_vol else p.data
        blocks.append(Block(p.host_start(), p.key, data))
    return blocks


def ms_of(host_time: int) -> int:
    """The module's millisecond conversion: (t + 5000) / 10000 truncating."""
    value = host_time + 5000
    return value // 10000 if value >= 0 else -((-value) // 10000)


def reference_rule(blocks: List[Block]) -> List[bool]:
    """Key flags as a reader sees BlockGroups: a block without ReferenceBlock
    is a key frame. The module writes one for a non-key frame, and for any
    frame whose start equals the previous one's, once a start >= 0 was seen."""
    flags, last = [], -1
    for b in blocks:
        has_reference = (not b.key or last == b.start) and last >= 0
        flags.append(not has_reference)
        last = b.start
    return flags


# ---------------------------------------------------------------------------
# Cases

@dataclasses.dataclass
class Track:
    selector: str        # ffprobe stream selector in the input and output
    codec_id: str
    expect: Callable


@dataclasses.dataclass
class MuxCase:
    name: str
    input: str
    args: List[str]
    tracks: List[Track]
    ext: str = '.mkv'
    needs: tuple = ('MKVMuxer',)
    simple_blocks: bool = False      # WebM: SimpleBlocks carry the key flag directly
    extra_checks: tuple = ()


def video(codec_id, expect=expect_same):
    return Track('v:0', codec_id, expect)


def audio(codec_id, expect=expect_same):
    return Track('a:0', codec_id, expect)


AVC = 'V_MPEG4/ISO/AVC'


def check_display_16_9(out, _case):
    info = stream_info(out, 'v:0')
    if info.get('display_aspect_ratio') != '16:9':
        raise Failure(f'display aspect read back as {info.get("display_aspect_ratio")}, '
                      'expected 16:9 (input SAR 4:3 on 320x240)')
    listing = run(['mkvinfo', out]).stdout.decode(errors='replace')
    if 'Display width: 16' not in listing or 'Display height: 9' not in listing:
        raise Failure('mkvinfo shows no 16:9 display size')


MUX_CASES = [
    # The MKV row with what it lists.
    MuxCase('mkv_h264_aac', 'h264_aac.mp4', [],
            [video(AVC, expect_h264_conversion), audio('A_AAC')]),
    MuxCase('mkv_h264_ts_conversion', 'h264_aac.ts', [],
            [video(AVC, expect_h264_conversion), audio('A_AAC', expect_adts_stripped)]),
    MuxCase('mkv_i264_aac', 'h264_aac.mp4', ['--video-fourcc', 'I264'],
            [video(AVC, expect_h264_nal_units), audio('A_AAC')]),
    MuxCase('mkv_i264_slices', 'h264_slices_aac.mp4', ['--video-fourcc', 'I264'],
            [video(AVC, expect_h264_nal_units), audio('A_AAC')]),
    MuxCase('mkv_h264_display_aspect', 'h264_sar_aac.mp4', [],
            [video(AVC, expect_h264_conversion), audio('A_AAC')],
            extra_checks=(check_display_16_9,)),
    MuxCase('mkv_xvid_mp3', 'mpeg4_mp3.mkv', [],
            [video('V_MPEG4/ISO/ASP', expect_mpeg4_vol_in_band), audio('A_MPEG/L3')]),
    MuxCase('mkv_vp9_opus', 'vp9_opus.webm', [], [video('V_VP9'), audio('A_OPUS')]),
    MuxCase('mkv_av1_opus', 'av1_opus.mkv', [], [video('V_AV1'), audio('A_OPUS')]),
    MuxCase('mkv_hevc_aac', 'hevc_aac.mp4', [], [video('V_MPEGH/ISO/HEVC', expect_hevc),
                                                 audio('A_AAC')],
            needs=('MKVMuxer', 'HevcMKVMuxer')),
    # KMKV and HMKV with what they list.
    MuxCase('kmkv_i264_ac3', 'h264_ac3.mkv', ['--format', 'KMKV'],
            [video(AVC, expect_h264_nal_units), audio('A_AC3')]),
    MuxCase('kmkv_k264_ac3', 'h264_ac3.mkv', ['--format', 'KMKV', '--video-fourcc', 'K264'],
            [video(AVC, expect_length_prefixed), audio('A_AC3')]),
    MuxCase('kmkv_vp9_aac', 'vp9_aac.mkv', ['--format', 'KMKV'], [video('V_VP9'), audio('A_AAC')]),
    MuxCase('hmkv_havc_ac3', 'h264_ac3.mkv', ['--format', 'HMKV', '--video-fourcc', 'havc'],
            [video(AVC, expect_length_prefixed), audio('A_AC3')]),
    MuxCase('hmkv_i264_ac3', 'h264_ac3.mkv', ['--format', 'HMKV'],
            [video(AVC, expect_h264_nal_units), audio('A_AC3')]),
    # Codecs that no row lists, through --any-codec.
    MuxCase('any_mpeg2_mp2', 'mpeg2_mp2.mpg', ['--any-codec'],
            [video('V_MPEG2'), audio('A_MPEG/L2')]),
    MuxCase('any_mpeg1_pcm', 'mpeg1_pcm.mkv', ['--any-codec'],
            [video('V_MPEG1'), audio('A_PCM/INT/LIT')]),
    MuxCase('any_vp8_vorbis', 'vp8_vorbis.webm', ['--any-codec'],
            [video('V_VP8'), audio('A_VORBIS')]),
    # The MKA row: audio only.
    MuxCase('mka_aac', 'aac.m4a', [], [audio('A_AAC')], ext='.mka'),
    MuxCase('mka_mp3', 'mp3.mp3', [], [audio('A_MPEG/L3')], ext='.mka'),
    MuxCase('mka_ac3', 'ac3.ac3', [], [audio('A_AC3')], ext='.mka'),
    MuxCase('mka_opus', 'opus.opus', [], [audio('A_OPUS')], ext='.mka'),
    MuxCase('mka_from_video_input', 'h264_aac.mp4', [], [audio('A_AAC')], ext='.mka'),
    MuxCase('mka_any_vorbis', 'vorbis.ogg', ['--any-codec'], [audio('A_VORBIS')], ext='.mka'),
    MuxCase('mka_any_pcm', 'pcm.wav', ['--any-codec'], [audio('A_PCM/INT/LIT')], ext='.mka'),
    MuxCase('mka_any_dts', 'dts.mkv', ['--any-codec'], [audio('A_DTS')], ext='.mka'),
    # The WEBM row.
    MuxCase('webm_vp8_vorbis', 'vp8_vorbis.webm', [], [video('V_VP8'), audio('A_VORBIS')],
            ext='.webm', needs=('WebmMuxer1',), simple_blocks=True),
    MuxCase('webm_vp9_vorbis', 'vp9_vorbis.webm', [], [video('V_VP9'), audio('A_VORBIS')],
            ext='.webm', needs=('WebmMuxer1',), simple_blocks=True),
    # The WebM muxer stores H264 samples as they come (kxmux hands them
    # length-prefixed) and takes AAC's configuration.
    MuxCase('webm_any_h264_aac', 'h264_aac.mp4', ['--any-codec'],
            [video(AVC, expect_length_prefixed), audio('A_AAC')],
            ext='.webm', needs=('WebmMuxer1',), simple_blocks=True),
]

# Checks that fail because a reader rejects what the module's rules write.
# case name -> check name -> (text expected in the failure, explanation).
# Each entry has its section in docs/compatibility.md.
KNOWN_READER_ISSUES: Dict[str, Dict[str, tuple]] = {
    # The I264 path makes one block per slice; FFmpeg's H.264 decoder takes
    # each block for a whole picture.
    'mkv_i264_slices': {
        'decode': ('illegal short term buffer state detected',
                   'FFmpeg decodes one-slice-per-block H.264 with errors'),
        'decode_after_seek': ('illegal short term buffer state detected',
                              'FFmpeg decodes one-slice-per-block H.264 with errors'),
    },
}


# ---------------------------------------------------------------------------
# Checks of a written file

def check_ffprobe(out, _case):
    proc = run(['ffprobe', '-v', 'error', '-show_format', '-show_streams', out], check=False)
    if proc.returncode != 0 or proc.stderr.strip():
        raise Failure('ffprobe: ' + proc.stderr.decode(errors='replace').strip())


def check_mkvinfo(out, _case):
    proc = run(['mkvinfo', '-a', out], check=False)
    text = (proc.stdout + proc.stderr).decode(errors='replace')
    bad = [line for line in text.splitlines() if re.search(r'error|warning', line, re.I)]
    if proc.returncode != 0 or bad:
        raise Failure(f'mkvinfo (exit {proc.returncode}): ' + ' | '.join(bad[:5]))


def check_mkvmerge(out, case):
    proc = run(['mkvmerge', '-J', out], check=False)
    try:
        report = json.loads(proc.stdout)
    except json.JSONDecodeError as e:
        raise Failure(f'mkvmerge -J printed no JSON: {e}') from e
    if report.get('errors') or not report.get('container', {}).get('recognized') \
            or not report['container'].get('supported'):
        raise Failure(f'mkvmerge: container not accepted: {report.get("errors")}')
    if report.get('warnings'):
        raise Failure(f'mkvmerge warnings: {report["warnings"]}')
    found = [t.get('properties', {}).get('codec_id') for t in report.get('tracks', [])]
    wanted = [t.codec_id for t in case.tracks]
    if found != wanted:
        raise Failure(f'mkvmerge identifies tracks {found}, expected {wanted}')


def compare_packets(inp, out, case):
    expected_per_track, base = [], None
    for track in case.tracks:
        packets = read_packets(inp, track.selector)
        blocks = track.expect(packets, stream_info(inp, track.selector))
        if not blocks:
            raise Failure(f'{track.selector}: the input yields no blocks')
        expected_per_track.append(blocks)
        first = ms_of(blocks[0].start)
        base = first if base is None else min(base, first)
    problems = []
    for track, blocks in zip(case.tracks, expected_per_track):
        got = read_packets(out, track.selector)
        keys = [b.key for b in blocks] if case.simple_blocks else reference_rule(blocks)
        if track.codec_id == AVC:
            # FFmpeg runs its H.264 parser on Matroska's AVC tracks, and the
            # parser flags every packet with an IDR slice as a key frame,
            # whatever the block says.
            keys = [k or any(u[0] & 0x1F == 5 for u in split_length_prefixed(b.data))
                    for k, b in zip(keys, blocks)]
        label = f'{track.selector} ({track.codec_id})'
        if len(got) != len(blocks):
            problems.append(f'{label}: {len(got)} packets read back, {len(blocks)} expected')
        for i, (b, g, key) in enumerate(zip(blocks, got, keys)):
            where = f'{label} packet {i}'
            if g.data != b.data:
                problems.append(f'{where}: {len(g.data)} bytes md5 '
                                f'{hashlib.md5(g.data).hexdigest()[:8]}, expected {len(b.data)} '
                                f'bytes md5 {hashlib.md5(b.data).hexdigest()[:8]}')
            # The module converts to milliseconds with (t + 5000) / 10000
            # truncating toward zero, which puts negative times up to 1.5 ms
            # off; the file is relative to the first block's converted start.
            wanted_ms = b.start / 10000 - base
            tolerance = 1.0 if b.start >= 0 else 1.5
            if abs(g.ms() - wanted_ms) > tolerance:
                problems.append(f'{where}: time {g.ms():.3f} ms, expected {wanted_ms:.3f} ms')
            if g.key != key:
                problems.append(f'{where}: key frame {g.key}, expected {key}')
            if len(problems) > 8:
                break
    if problems:
        raise Failure('; '.join(problems[:8]))


def check_decode(out, _case):
    proc = run(['ffmpeg', '-nostdin', '-v', 'error', '-i', out, '-f', 'null', '-'], check=False)
    if proc.returncode != 0 or proc.stderr.strip():
        raise Failure('ffmpeg decode: ' + proc.stderr.decode(errors='replace').strip()[:600])


def parse_mkvinfo_layout(out):
    """Top-level element positions, Seek entries and cue points from
    `mkvinfo -a -P`."""
    text = run(['mkvinfo', '-a', '-P', out]).stdout.decode(errors='replace')
    elements, seeks, cues = {}, [], []
    seek_id = None
    cue = None
    for line in text.splitlines():
        top = re.match(r'^\|\+ (.+?)(?::.*)? at (\d+)$', line)
        if top:
            elements[int(top.group(2))] = top.group(1)
        m = re.search(r'Seek ID: .*\((Kax\w+)\)', line)
        if m:
            seek_id = m.group(1)
        m = re.search(r'Seek position: (\d+)', line)
        if m and seek_id:
            seeks.append((seek_id, int(m.group(1))))
            seek_id = None
        if re.search(r'\+ Cue point', line):
            cue = {}
            cues.append(cue)
        m = re.search(r'Cue time: (\d+):(\d+):([\d.]+)', line)
        if m and cue is not None:
            cue['ms'] = round((int(m.group(1)) * 3600 + int(m.group(2)) * 60
                               + float(m.group(3))) * 1000)
        m = re.search(r'Cue track: (\d+)', line)
        if m and cue is not None:
            cue['track'] = int(m.group(1))
        m = re.search(r'Cue cluster position: (\d+)', line)
        if m and cue is not None:
            cue['cluster'] = int(m.group(1))
    return elements, seeks, cues


KAX_NAMES = {'KaxInfo': 'Segment information', 'KaxTracks': 'Tracks', 'KaxCues': 'Cues',
             'KaxSeekHead': 'Seek head', 'KaxCluster': 'Cluster', 'KaxTags': 'Tags',
             'KaxChapters': 'Chapters', 'KaxAttachments': 'Attachments'}


def check_index_and_seek(out, case):
    elements, seeks, cues = parse_mkvinfo_layout(out)
    info_pos = [pos for pos, name in elements.items() if name == 'Segment information']
    info_seek = [pos for kax, pos in seeks if kax == 'KaxInfo']
    if not info_pos or not info_seek:
        raise Failure('no Info element or no Seek for it')
    data_start = info_pos[0] - info_seek[0]
    for kax, pos in seeks:
        name = elements.get(data_start + pos)
        if name != KAX_NAMES.get(kax, kax):
            raise Failure(f'Seek for {kax} points at {data_start + pos}, where mkvinfo finds '
                          f'{name or "no top-level element"}')

    first = case.tracks[0]
    got = read_packets(out, first.selector)
    key_times = sorted({round(p.ms()) for p in got if p.key})
    has_video = first.selector.startswith('v')
    if has_video and not cues:
        raise Failure('a file with video has no cue points')
    for cue in cues:
        if elements.get(data_start + cue.get('cluster', -1)) != 'Cluster':
            raise Failure(f'cue point at {cue.get("ms")} ms names cluster position '
                          f'{cue.get("cluster")}, which is no Cluster')
        if cue.get('ms') not in key_times:
            raise Failure(f'cue point at {cue.get("ms")} ms is not a key frame of the track')

    # Seek to the middle. With cues FFmpeg's demuxer jumps straight to the
    # last key frame at or before the asked time; without (the module makes
    # none for an audio-only Matroska file) it searches the clusters and may
    # land a little earlier, but still on a packet of the track.
    middle = max(p.ms() for p in got) / 2000.0
    proc = run(['ffprobe', '-v', 'error', '-read_intervals', f'{middle:.3f}%+#1',
                '-select_streams', first.selector, '-show_entries', 'packet=pts_time,flags',
                '-of', 'json', out])
    landed = json.loads(proc.stdout).get('packets', [])
    if not landed:
        raise Failure(f'seeking to {middle:.3f} s read no packet')
    at = float(landed[0]['pts_time']) * 1000
    before = [k for k in key_times if k <= middle * 1000 + 1]
    slack = 1 if cues else 500
    if 'K' not in landed[0].get('flags', '') or not before or round(at) not in key_times \
            or not before[-1] - slack <= at <= before[-1] + 1:
        raise Failure(f'seeking to {middle * 1000:.0f} ms landed at {at:.0f} ms '
                      f'(flags {landed[0].get("flags")}); the last key frame before is '
                      f'{before[-1] if before else None} ms')


def check_decode_after_seek(out, _case):
    proc = run(['ffprobe', '-v', 'error', '-show_entries', 'format=duration', '-of', 'json', out])
    middle = float(json.loads(proc.stdout)['format']['duration']) / 2
    proc = run(['ffmpeg', '-nostdin', '-v', 'error', '-ss', f'{middle:.3f}', '-i', out,
                '-t', '0.5', '-f', 'null', '-'], check=False)
    if proc.returncode != 0 or proc.stderr.strip():
        raise Failure('decoding after a seek: ' + proc.stderr.decode(errors='replace')[:400])


def module_has(env: Env, class_name: str) -> bool:
    """Whether the module's objects implement a class (a defined member of it)."""
    if not env.module_objects:
        return True
    names = run(['nm', '-C', '--defined-only', env.module_objects]).stdout.decode(errors='replace')
    return re.search(r'(?<![A-Za-z0-9_])' + class_name + r'::', names) is not None


def run_mux_case(env: Env, case: MuxCase) -> int:
    for needed in case.needs:
        if not module_has(env, needed):
            print(f'SKIPPED: the module has no {needed} yet')
            return SKIP
    inp = make_input(env, case.input)
    out = os.path.join(env.case_dir, case.name + case.ext)
    proc = run([env.kxmux, *case.args, inp, out], check=False)
    sys.stdout.write(proc.stdout.decode(errors='replace'))
    if proc.returncode != 0:
        print(f'FAILED: kxmux exited with {proc.returncode}: '
              f'{proc.stderr.decode(errors="replace").strip()}')
        return 1
    if os.path.exists(out + '.part') or not os.path.exists(out):
        print('FAILED: kxmux left OUTPUT.part behind or wrote no OUTPUT')
        return 1

    checks = [('ffprobe', check_ffprobe), ('mkvinfo', check_mkvinfo),
              ('mkvmerge', check_mkvmerge),
              ('packets', lambda o, c: compare_packets(inp, o, c)),
              ('decode', check_decode), ('index_and_seek', check_index_and_seek),
              ('decode_after_seek', check_decode_after_seek)]
    checks += [(f.__name__, f) for f in case.extra_checks]
    known = KNOWN_READER_ISSUES.get(case.name, {})
    failed = 0
    for name, check in checks:
        try:
            check(out, case)
            if name in known:
                print(f'NOTE {name}: passes now; the known reader issue is gone '
                      '(update docs/compatibility.md)')
            else:
                print(f'ok   {name}')
        except Failure as e:
            text, why = known.get(name, (None, None))
            if text is not None and text in str(e):
                print(f'KNOWN {name}: {why} ({e})')
            else:
                print(f'FAIL {name}: {e}')
                failed += 1
    return 1 if failed else 0


# ---------------------------------------------------------------------------
# kxmux's own behaviour

def expect_no_output(out):
    for path in (out, out + '.part'):
        if os.path.exists(path):
            raise Failure(f'{path} exists after a failed run')


def expect_exit(proc, code, stderr_has=None):
    err = proc.stderr.decode(errors='replace')
    if proc.returncode != code:
        raise Failure(f'exit status {proc.returncode}, expected {code}; stderr: {err.strip()}')
    if stderr_has and stderr_has not in err:
        raise Failure(f'stderr lacks "{stderr_has}": {err.strip()}')
    if code not in (0, 130) and 'error' not in err:
        raise Failure(f'no error message: {err.strip()}')


def cli_sample(env: Env):
    cwd = os.path.join(env.case_dir, 'cwd')
    shutil.rmtree(cwd, ignore_errors=True)
    os.makedirs(cwd)
    proc = run([env.kxmux], cwd=cwd, check=False)
    expect_exit(proc, 0)
    text = proc.stdout.decode(errors='replace')
    out = os.path.join(cwd, 'out', 'sample.mkv')
    if not os.path.exists(out):
        raise Failure('no out/sample.mkv')
    for needle in ('V_MPEG4/ISO/AVC', 'A_AAC', 'cue point', 'cluster', 'duration'):
        if needle not in text:
            raise Failure(f'the summary lacks "{needle}": {text}')
    check_ffprobe(out, None)
    check_decode(out, None)


def cli_wrong_usage(env: Env):
    for args in (['--format', 'AVI'], ['a', 'b', 'c'], ['--frobnicate'], ['--format']):
        proc = run([env.kxmux, *args], check=False, cwd=env.case_dir)
        expect_exit(proc, 2, 'error')


def cli_unreadable_input(env: Env):
    inp = os.path.join(env.case_dir, 'garbage.mp4')
    with open(inp, 'wb') as f:
        f.write(b'this is not media\n' * 64)
    out = os.path.join(env.case_dir, 'garbage.mkv')
    expect_exit(run([env.kxmux, inp, out], check=False), 1, 'cannot')
    expect_no_output(out)
    out = os.path.join(env.case_dir, 'missing.mkv')
    expect_exit(run([env.kxmux, inp + '.missing', out], check=False), 1, 'cannot open')
    expect_no_output(out)


def cli_unlisted_codec(env: Env):
    inp = make_input(env, 'mpeg2_mp2.mpg')
    out = os.path.join(env.case_dir, 'unlisted.mkv')
    expect_exit(run([env.kxmux, inp, out], check=False), 1, '--any-codec')
    expect_no_output(out)
    # A FourCC that does not name the input's codec.
    inp = make_input(env, 'h264_aac.mp4')
    expect_exit(run([env.kxmux, '--video-fourcc', 'HEVC', inp, out], check=False), 1,
                'does not fit')
    expect_no_output(out)
    # The WEBM row lists no H.264 FourCC.
    out = os.path.join(env.case_dir, 'unlisted.webm')
    expect_exit(run([env.kxmux, inp, out], check=False), 1, '--any-codec')
    expect_no_output(out)


def cli_module_refuses(env: Env):
    inp = make_input(env, 'h264_aac.mp4')
    out = os.path.join(env.case_dir, 'refused.mkv')
    # A directory where the module must create its file: it cannot open it.
    os.makedirs(out + '.part', exist_ok=True)
    log = os.path.join(env.case_dir, 'refused.log')
    if os.path.exists(log):
        os.remove(log)
    proc = run([env.kxmux, '--log', log, inp, out], check=False)
    expect_exit(proc, 1, 'refused')
    if os.path.exists(out):
        raise Failure(f'{out} exists after the module refused')
    if not os.path.isdir(out + '.part'):
        raise Failure('kxmux removed a directory it did not create')
    with open(log, encoding='utf-8', errors='replace') as f:
        logged = f.read()
    if 'Create media file' not in logged:
        raise Failure(f'the module log lacks the refusal: {logged!r}')
    # A module that cannot be loaded.
    proc = run([env.kxmux, '--module', os.path.join(env.case_dir, 'no_such_module.so'), inp,
                os.path.join(env.case_dir, 'nomodule.mkv')], check=False)
    expect_exit(proc, 1, 'cannot load')


def cli_log(env: Env):
    inp = make_input(env, 'aac.m4a')
    out = os.path.join(env.case_dir, 'logged.mka')
    log = os.path.join(env.case_dir, 'module.log')
    if os.path.exists(log):
        os.remove(log)
    expect_exit(run([env.kxmux, '-q', '--log', log, inp, out], check=False), 0)
    with open(log, encoding='utf-8', errors='replace') as f:
        if 'Return file formats' not in f.read():
            raise Failure('the module log lacks the catalogue line')


def cli_interrupt(env: Env):
    """SIGINT while muxing: exit 130, neither OUTPUT nor OUTPUT.part left."""
    inp = make_input(env, 'long_h264.ts')
    out = os.path.join(env.case_dir, 'interrupted.mkv')
    fifo = os.path.join(env.case_dir, 'slow.ts')
    if os.path.exists(fifo):
        os.remove(fifo)
    os.mkfifo(fifo)
    proc = subprocess.Popen([env.kxmux, '-q', fifo, out], stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE)
    try:
        # Wait for kxmux to open the FIFO without blocking on a kxmux that
        # failed before reading.
        deadline = time.time() + 60
        fd = None
        while fd is None and proc.poll() is None and time.time() < deadline:
            try:
                fd = os.open(fifo, os.O_WRONLY | os.O_NONBLOCK)
            except OSError:
                time.sleep(0.01)
        if fd is None:
            raise Failure('kxmux never opened its input')
        os.set_blocking(fd, True)
        try:
            with open(inp, 'rb') as source:
                # Feed the input slowly until the module's file exists.
                while not os.path.exists(out + '.part') and time.time() < deadline:
                    chunk = source.read(188 * 64)
                    if not chunk:
                        break
                    os.write(fd, chunk)
                    time.sleep(0.01)
                if not os.path.exists(out + '.part'):
                    raise Failure('kxmux did not start writing')
                proc.send_signal(signal.SIGINT)
                while proc.poll() is None and time.time() < deadline:
                    os.write(fd, source.read(188 * 64) or b'\0' * 188)
        except BrokenPipeError:
            pass
        finally:
            os.close(fd)
    finally:
        if proc.poll() is None and time.time() > deadline:
            proc.kill()
        stdout, stderr = proc.communicate(timeout=60)
    expect_exit(subprocess.CompletedProcess(proc.args, proc.returncode, stdout, stderr), 130,
                'interrupted')
    expect_no_output(out)


CLI_CASES: Dict[str, Callable] = {
    'cli_sample': cli_sample,
    'cli_wrong_usage': cli_wrong_usage,
    'cli_unreadable_input': cli_unreadable_input,
    'cli_unlisted_codec': cli_unlisted_codec,
    'cli_module_refuses': cli_module_refuses,
    'cli_log': cli_log,
    'cli_interrupt': cli_interrupt,
}
CLI_NEEDS = {'cli_sample': ('MKVMuxer',), 'cli_log': ('MKVMuxer',), 'cli_module_refuses': ('MKVMuxer',),
             'cli_interrupt': ('MKVMuxer',)}


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--list', action='store_true', help='print the case names')
    parser.add_argument('--kxmux')
    parser.add_argument('--work')
    parser.add_argument('--module-objects',
                        help='static library of the module, to tell which parts exist')
    parser.add_argument('case', nargs='?')
    args = parser.parse_args()
    mux = {c.name: c for c in MUX_CASES}
    if args.list:
        print('\n'.join(list(mux) + list(CLI_CASES)))
        return 0
    if not args.kxmux or not args.work or not args.case:
        parser.error('--kxmux, --work and a case are needed')
    env = Env(os.path.abspath(args.kxmux), os.path.abspath(args.work), args.module_objects)
    env.case_dir = os.path.join(env.work, args.case)
    os.makedirs(env.case_dir, exist_ok=True)
    try:
        if args.case in mux:
            return run_mux_case(env, mux[args.case])
        if args.case in CLI_CASES:
            for needed in CLI_NEEDS.get(args.case, ()):
                if not module_has(env, needed):
                    print(f'SKIPPED: the module has no {needed} yet')
                    return SKIP
            CLI_CASES[args.case](env)
            print('ok')
            return 0
    except Failure as e:
        print(f'FAILED: {e}')
        return 1
    print(f'unknown case {args.case}', file=sys.stderr)
    return 2


if __name__ == '__main__':
    sys.exit(main())
