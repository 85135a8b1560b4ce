#!/usr/bin/env python3
"""Real HEVC streams through kxmux and the module's HEVC muxer.

Each case encodes two seconds of testsrc2 with libx265 (plus a sine tone as
AAC) into an MP4, remuxes it with `kxmux --video-fourcc HEVC` into Matroska
and checks the result:

  * `ffprobe -v error` and `mkvinfo` report nothing, `mkvmerge -J` identifies
    V_MPEGH/ISO/HEVC and A_AAC;
  * `ffmpeg -v error -i OUT -f null -` decodes silently, the file decodes to
    as many video frames as the input, and to the same pictures (frame MD5s);
  * the HEVC decoder configuration record in the track's CodecPrivate carries
    what FFmpeg reads from the stream's own parameter sets: profile space,
    tier, profile, compatibility and constraint flags, level, chroma format,
    bit depths, number of temporal layers, temporal-id nesting,
    min_spatial_segmentation_idc and parallelismType, plus its fixed bytes,
    and its arrays hold exactly the stream's VPS, SPS and PPS in order.

FFmpeg's view comes from `ffprobe -show_streams` (profile, level, pix_fmt)
and from the trace_headers bitstream filter, which logs every syntax element
of the parameter sets with its bit offset.

libx265 3.5 never writes a VUI bitstream restriction and has no tiles. The
cases marked `restriction` therefore take the encoded stream and add a
bitstream restriction to its SPS (in the MP4's hvcC box, the only place
where the MP4 carries parameter sets); FFmpeg must then report the new
fields before the case goes on. Tiles cannot be added that way: turning on
tiles_enabled_flag changes how the slices are decoded.

Usage:
  hevc_streams.py --list
  hevc_streams.py --kxmux PATH --module PATH --work DIR CASE
Exit status: 0 passed, 1 failed, 77 skipped (missing tool, no libx265 in
ffmpeg, kxmux or the module not built).
"""

import argparse
import dataclasses
import fcntl
import json
import os
import re
import shutil
import subprocess
import sys
import time
from typing import Dict, List, Optional, Tuple

SKIP = 77
DURATION = '2'
FRAMES = 50          # 2 s at 25 fps
CODEC_PRIVATE_SIZE = 1024

# info=0: x265's info SEI alone is about 2 KB; kxmux hands the module no SEI
# anyway, but the input should hold only what the record is meant to carry.
X265_COMMON = 'info=0:log-level=error:keyint=25:min-keyint=25:scenecut=0'


@dataclasses.dataclass
class Case:
    name: str
    x265: str = ''
    pix_fmt: str = 'yuv420p'
    vf: Optional[str] = None
    # min_spatial_segmentation_idc of a bitstream restriction added to the SPS.
    restriction: Optional[int] = None
    # What the stream must exercise for the case to mean anything:
    # (parameter set, syntax element, value) as FFmpeg's trace reports them.
    requires: Tuple[Tuple[str, str, int], ...] = ()


VUI = ('overscan=show:videoformat=pal:range=full:colorprim=bt2020:transfer=bt2020-10:'
       'colormatrix=bt2020nc:chromaloc=2:display-window=0,0,0,8:'
       'hrd=1:vbv-bufsize=300:vbv-maxrate=300')
VUI_REQUIRES = (('SPS', 'aspect_ratio_idc', 255),
                ('SPS', 'overscan_info_present_flag', 1),
                ('SPS', 'colour_description_present_flag', 1),
                ('SPS', 'chroma_loc_info_present_flag', 1),
                ('SPS', 'default_display_window_flag', 1),
                ('SPS', 'vui_timing_info_present_flag', 1),
                ('SPS', 'vui_hrd_parameters_present_flag', 1),
                ('SPS', 'nal_hrd_parameters_present_flag', 1),
                ('SPS', 'fixed_pic_rate_general_flag[0]', 1))
TEMPORAL = 'temporal-layers=1:b-pyramid=1:bframes=4'

CASES = [
    # x265's defaults: Main, 8-bit 4:2:0, WPP, B-frames, open GOP.
    Case('main8', requires=(('SPS', 'general_profile_idc', 1), ('SPS', 'chroma_format_idc', 1),
                            ('PPS', 'entropy_coding_sync_enabled_flag', 1))),
    # Main 10 at High tier, level 4.
    Case('main10_high_tier', 'level-idc=4:high-tier=1', pix_fmt='yuv420p10le',
         requires=(('SPS', 'general_profile_idc', 2), ('SPS', 'general_tier_flag', 1),
                   ('SPS', 'general_level_idc', 120), ('SPS', 'bit_depth_luma_minus8', 2))),
    # Unreferenced B-frames in a second temporal sub-layer.
    Case('temporal_layers', TEMPORAL,
         requires=(('VPS', 'vps_max_sub_layers_minus1', 1),
                   ('SPS', 'sps_max_sub_layers_minus1', 1),
                   ('SPS', 'sps_temporal_id_nesting_flag', 0))),
    # Every VUI part x265 writes: extended SAR, overscan, signal type with
    # colour description, chroma location, display window, timing and NAL HRD
    # parameters; no bitstream restriction.
    Case('vui_hrd', VUI, vf='setsar=5/7',
         requires=VUI_REQUIRES + (('SPS', 'bitstream_restriction_flag', 0),)),
    # The same with a bitstream restriction behind the HRD parameters: WPP
    # only gives parallelismType 3. With one slice per picture and 32x32 CTBs
    # at 320x240, H.265 allows min_spatial_segmentation_idc up to 7 under WPP.
    Case('vui_hrd_restriction', VUI, vf='setsar=5/7', restriction=7,
         requires=VUI_REQUIRES + (('PPS', 'entropy_coding_sync_enabled_flag', 1),
                                  ('PPS', 'tiles_enabled_flag', 0))),
    # Neither WPP nor tiles (parallelismType 1), two sub-layers, restriction
    # after the sub-layer loops. x265 makes several slices only with WPP, so
    # each picture is one slice, larger than min_spatial_segmentation_idc 1
    # strictly allows; decoders do not act on the value.
    Case('no_wpp_temporal_restriction', 'wpp=0:' + TEMPORAL, restriction=1,
         requires=(('SPS', 'sps_max_sub_layers_minus1', 1),
                   ('PPS', 'entropy_coding_sync_enabled_flag', 0),
                   ('PPS', 'tiles_enabled_flag', 0))),
    # Range extensions: 4:2:2 and 4:4:4 (separate_colour_plane_flag read).
    Case('rext422_10', pix_fmt='yuv422p10le',
         requires=(('SPS', 'general_profile_idc', 4), ('SPS', 'chroma_format_idc', 2))),
    Case('rext444_12', pix_fmt='yuv444p12le',
         requires=(('SPS', 'general_profile_idc', 4), ('SPS', 'chroma_format_idc', 3),
                   ('SPS', 'bit_depth_luma_minus8', 4))),
]


class Failure(Exception):
    pass


class Skipped(Exception):
    pass


def run(cmd, check=True) -> subprocess.CompletedProcess:
    proc = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
    if check and proc.returncode != 0:
        raise Failure(f'{" ".join(cmd)} exited with {proc.returncode}: '
                      f'{proc.stderr.decode(errors="replace").strip()[-1500:]}')
    return proc


def text(data: bytes) -> str:
    return data.decode(errors='replace')


# ---------------------------------------------------------------------------
# Bits and NAL units

def unescape(nal: bytes) -> bytes:
    """NAL unit to RBSP: every 03 after 00 00 goes."""
    out, zeros = bytearray(), 0
    for b in nal:
        if zeros >= 2 and b == 3:
            zeros = 0
            continue
        out.append(b)
        zeros = zeros + 1 if b == 0 else 0
    return bytes(out)


def escape(rbsp: bytes) -> bytes:
    """RBSP to NAL unit: 03 before any 00..03 that follows 00 00."""
    out, zeros = bytearray(), 0
    for b in rbsp:
        if zeros >= 2 and b <= 3:
            out.append(3)
            zeros = 0
        out.append(b)
        zeros = zeros + 1 if b == 0 else 0
    return bytes(out)


def ue(value: int) -> str:
    code = bin(value + 1)[2:]
    return '0' * (len(code) - 1) + code


def nal_type(nal: bytes) -> int:
    return (nal[0] >> 1) & 0x3F


def split_annex_b(data: bytes) -> List[bytes]:
    starts = [m.end() for m in re.finditer(b'\x00\x00\x01', data)]
    units = []
    for i, start in enumerate(starts):
        end = starts[i + 1] - 3 if i + 1 < len(starts) else len(data)
        unit = data[start:end].rstrip(b'\x00')
        if unit:
            units.append(unit)
    return units


# ---------------------------------------------------------------------------
# FFmpeg's view of the parameter sets

SECTIONS = {'Video Parameter Set': 'VPS', 'Sequence Parameter Set': 'SPS',
            'Picture Parameter Set': 'PPS'}
TRACE_LINE = re.compile(r'^\[trace_headers @ [^\]]+\] (\d+)\s+(\S+)\s+([01]+) = (-?\d+)\s*$')


@dataclasses.dataclass
class Element:
    offset: int     # bit offset in the RBSP, from the NAL unit header
    name: str
    bits: str
    value: int


class ParameterSet:
    def __init__(self, kind: str):
        self.kind = kind
        self.elements: List[Element] = []

    def find(self, name: str) -> Optional[Element]:
        return next((e for e in self.elements if e.name == name), None)

    def get(self, name: str) -> int:
        element = self.find(name)
        if element is None:
            raise Failure(f'FFmpeg reports no {name} in the {self.kind}')
        return element.value

    def bits_from(self, first: str, count: int) -> int:
        """`count` bits starting at element `first`, joined from the elements
        FFmpeg lists there (it splits long reserved fields)."""
        start = self.find(first)
        if start is None:
            raise Failure(f'FFmpeg reports no {first} in the {self.kind}')
        bits = ''.join(e.bits for e in self.elements
                       if start.offset <= e.offset < start.offset + count)
        if len(bits) != count:
            raise Failure(f'{self.kind}: {len(bits)} bits from {first}, expected {count}')
        return int(bits, 2)


def trace_parameter_sets(path: str) -> List[ParameterSet]:
    """The parameter sets of the input's configuration, as FFmpeg parses them."""
    proc = run(['ffmpeg', '-hide_banner', '-nostdin', '-v', 'info', '-i', path, '-map', '0:v',
                '-c:v', 'copy', '-bsf:v', 'trace_headers', '-frames:v', '1', '-f', 'null', '-'])
    sets: List[ParameterSet] = []
    current = None
    in_extradata = False
    for line in text(proc.stderr).splitlines():
        if not line.startswith('[trace_headers'):
            continue
        body = line.split('] ', 1)[1] if '] ' in line else ''
        if body.strip() == 'Extradata':
            in_extradata = True
            continue
        if body.startswith('Packet:'):
            break
        if not in_extradata:
            continue
        if body.strip() in SECTIONS:
            current = ParameterSet(SECTIONS[body.strip()])
            sets.append(current)
            continue
        m = TRACE_LINE.match(line)
        if m and current is not None:
            current.elements.append(Element(int(m.group(1)), m.group(2), m.group(3),
                                            int(m.group(4))))
    if not sets:
        raise Failure(f'trace_headers shows no parameter sets in the configuration of {path}')
    return sets


def stream_parameter_sets(path: str) -> List[bytes]:
    """The VPS, SPS and PPS NAL units (with their emulation prevention bytes)
    that the MP4's first sample starts with in Annex B form."""
    proc = run(['ffmpeg', '-nostdin', '-v', 'error', '-i', path, '-map', '0:v', '-c:v', 'copy',
                '-bsf:v', 'hevc_mp4toannexb', '-frames:v', '1', '-f', 'hevc', '-'])
    return [u for u in split_annex_b(proc.stdout) if nal_type(u) in (32, 33, 34)]


def probe_video(path: str) -> dict:
    proc = run(['ffprobe', '-v', 'error', '-select_streams', 'v:0', '-show_entries',
                'stream=codec_name,profile,level,pix_fmt', '-of', 'json', path])
    streams = json.loads(proc.stdout).get('streams', [])
    if not streams:
        raise Failure(f'ffprobe finds no video stream in {path}')
    return streams[0]


def count_frames(path: str) -> int:
    proc = run(['ffprobe', '-v', 'error', '-count_frames', '-select_streams', 'v:0',
                '-show_entries', 'stream=nb_read_frames', '-of', 'csv=p=0', path])
    return int(text(proc.stdout).strip().split(',')[0])


def frame_hashes(path: str) -> List[str]:
    proc = run(['ffmpeg', '-nostdin', '-v', 'error', '-i', path, '-map', '0:v',
                '-fps_mode', 'passthrough', '-f', 'framemd5', '-'])
    return [line.rsplit(',', 1)[1].strip() for line in text(proc.stdout).splitlines()
            if line and not line.startswith('#')]


PROFILES = {'Main': 1, 'Main 10': 2, 'Main Still Picture': 3, 'Rext': 4}


def pix_fmt_layout(pix_fmt: str) -> Tuple[int, int]:
    """(chroma_format_idc, bit depth) of an FFmpeg pixel format."""
    m = re.fullmatch(r'(gray|yuvj?4[24][024]p)(\d+)?(le|be)?', pix_fmt)
    if not m:
        raise Failure(f'unexpected pixel format {pix_fmt}')
    base = m.group(1)
    chroma = 0 if base == 'gray' else {'420': 1, '422': 2, '444': 3}[base[-4:-1]]
    return chroma, int(m.group(2) or 8)


# ---------------------------------------------------------------------------
# Inputs

def encode_command(case: Case, out: str) -> List[str]:
    cmd = ['ffmpeg', '-nostdin', '-v', 'error', '-y',
           '-f', 'lavfi', '-i', f'testsrc2=size=320x240:rate=25:duration={DURATION}',
           '-f', 'lavfi', '-i', f'sine=frequency=440:beep_factor=4:sample_rate=48000:'
                                f'duration={DURATION}',
           '-map', '0:v', '-map', '1:a']
    if case.vf:
        cmd += ['-vf', case.vf]
    x265 = X265_COMMON + (':' + case.x265 if case.x265 else '')
    cmd += ['-pix_fmt', case.pix_fmt, '-c:v', 'libx265', '-preset', 'ultrafast',
            '-x265-params', x265, '-c:a', 'aac', '-b:a', '64k',
            '-map_metadata', '-1', '-fflags', '+bitexact', out]
    return cmd


def add_bitstream_restriction(sps: bytes, traced: ParameterSet, min_spatial: int) -> bytes:
    """The SPS with bitstream_restriction_flag set and its fields inserted,
    at the bit offset FFmpeg reports for the flag."""
    rbsp = unescape(sps)
    bits = ''.join(f'{b:08b}' for b in rbsp)
    flag = traced.find('bitstream_restriction_flag')
    stop = traced.find('rbsp_stop_one_bit')
    if flag is None or stop is None or flag.value != 0:
        raise Failure('the encoded SPS has no VUI without a bitstream restriction to extend')
    if bits[flag.offset] != '0' or bits[stop.offset] != '1':
        raise Failure('the SPS bytes do not match FFmpeg\'s trace of them')
    # No limit on bytes per picture or bits per CU, longest motion vectors:
    # the only real constraint added is min_spatial_segmentation_idc.
    restriction = ('1' + '0' + '1' + '0' + ue(min_spatial) + ue(0) + ue(0) + ue(15) + ue(15))
    new = bits[:flag.offset] + restriction + bits[flag.offset + 1:stop.offset] + '1'
    new += '0' * (-len(new) % 8)
    return escape(bytes(int(new[i:i + 8], 2) for i in range(0, len(new), 8)))


# Boxes on the way from the file to hvcC, with the bytes of their own header
# fields before the children.
MP4_CONTAINERS = {b'moov': 0, b'trak': 0, b'mdia': 0, b'minf': 0, b'stbl': 0, b'stsd': 8,
                  b'hev1': 78, b'hvc1': 78}


def replace_sps_in_hvcc(body: bytes, new_sps: bytes) -> bytes:
    out, pos = bytearray(body[:23]), 23
    replaced = 0
    for _ in range(body[22]):
        out += body[pos:pos + 3]
        kind, count = body[pos] & 0x3F, int.from_bytes(body[pos + 1:pos + 3], 'big')
        pos += 3
        for _ in range(count):
            length = int.from_bytes(body[pos:pos + 2], 'big')
            unit = body[pos + 2:pos + 2 + length]
            pos += 2 + length
            if kind == 33:
                unit = new_sps
                replaced += 1
            out += len(unit).to_bytes(2, 'big') + unit
    if replaced != 1:
        raise Failure(f'the input\'s hvcC holds {replaced} SPSs, expected 1')
    return bytes(out + body[pos:])


def rewrite_boxes(data: bytes, new_sps: bytes, top: bool = False) -> bytes:
    out, pos = bytearray(), 0
    seen_mdat = False
    while pos < len(data):
        size, kind = int.from_bytes(data[pos:pos + 4], 'big'), data[pos + 4:pos + 8]
        if size < 8 or pos + size > len(data):
            raise Failure(f'unexpected MP4 box {kind!r} of size {size}')
        body = data[pos + 8:pos + size]
        if kind == b'mdat':
            seen_mdat = True
        if kind == b'moov' and top and not seen_mdat:
            # Resizing moov would move the samples that stco points at.
            raise Failure('the MP4 has its moov before mdat')
        if kind == b'hvcC':
            body = replace_sps_in_hvcc(body, new_sps)
        elif kind in MP4_CONTAINERS:
            head = MP4_CONTAINERS[kind]
            body = body[:head] + rewrite_boxes(body[head:], new_sps)
        out += (8 + len(body)).to_bytes(4, 'big') + kind + body
        pos += size
    return bytes(out)


def make_input(case: Case, work: str) -> str:
    """Encodes the case's input once; a later run reuses it while the
    command is unchanged."""
    os.makedirs(work, exist_ok=True)
    path = os.path.join(work, case.name + '.mp4')
    cmd = encode_command(case, path + '.tmp.mp4')
    stamp = path + '.cmd'
    key = repr((cmd, case.restriction))
    with open(path + '.lock', 'w') as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        try:
            with open(stamp) as f:
                if f.read() == key and os.path.exists(path):
                    return path
        except OSError:
            pass
        run(cmd)
        if case.restriction is not None:
            encoded = path + '.tmp.mp4'
            sps = [u for u in stream_parameter_sets(encoded) if nal_type(u) == 33]
            traced = [p for p in trace_parameter_sets(encoded) if p.kind == 'SPS']
            if len(sps) != 1 or len(traced) != 1:
                raise Failure(f'the encoded stream has {len(sps)} SPSs, expected 1')
            new_sps = add_bitstream_restriction(sps[0], traced[0], case.restriction)
            with open(encoded, 'rb') as f:
                data = rewrite_boxes(f.read(), new_sps, top=True)
            with open(encoded, 'wb') as f:
                f.write(data)
        os.replace(path + '.tmp.mp4', path)
        with open(stamp, 'w') as f:
            f.write(key)
    return path


# ---------------------------------------------------------------------------
# The record

@dataclasses.dataclass
class Expected:
    profile_space: int
    tier: int
    profile_idc: int
    compatibility: int
    constraints: int
    level_idc: int
    min_spatial: int
    parallelism: int
    chroma: int
    luma_minus8: int
    chroma_minus8: int
    temporal_layers: int
    nested: int


def expected_record(sets: List[ParameterSet]) -> Expected:
    """The record's values for one VPS, SPS and PPS, from FFmpeg's parse."""
    kinds = [p.kind for p in sets]
    if sorted(kinds) != ['PPS', 'SPS', 'VPS']:
        raise Failure(f'the input configuration holds {kinds}, expected one VPS, SPS and PPS')
    vps, sps, pps = (next(p for p in sets if p.kind == k) for k in ('VPS', 'SPS', 'PPS'))

    def ptl(p):
        return (p.get('general_profile_space'), p.get('general_tier_flag'),
                p.get('general_profile_idc'),
                p.bits_from('general_profile_compatibility_flag[0]', 32),
                p.bits_from('general_progressive_source_flag', 48), p.get('general_level_idc'))

    if ptl(vps) != ptl(sps):
        raise Failure('VPS and SPS carry different profile_tier_level values; the case '
                      'cannot tell which the record should hold')
    space, tier, profile, compatibility, constraints, level = ptl(sps)
    if sps.get('vui_parameters_present_flag') and sps.get('bitstream_restriction_flag'):
        min_spatial = sps.get('min_spatial_segmentation_idc')
    else:
        min_spatial = 0
    tiles, wpp = pps.get('tiles_enabled_flag'), pps.get('entropy_coding_sync_enabled_flag')
    if min_spatial == 0:
        parallelism = 0
    else:
        parallelism = {(1, 1): 0, (0, 1): 3, (1, 0): 2, (0, 0): 1}[(tiles, wpp)]
    layers = max(vps.get('vps_max_sub_layers_minus1'), sps.get('sps_max_sub_layers_minus1')) + 1
    return Expected(space, tier, profile, compatibility, constraints, level, min_spatial,
                    parallelism, sps.get('chroma_format_idc'), sps.get('bit_depth_luma_minus8'),
                    sps.get('bit_depth_chroma_minus8'), layers,
                    sps.get('sps_temporal_id_nesting_flag'))


def check_record(private: bytes, want: Expected, psets: List[bytes]) -> Tuple[int, List[str]]:
    """Compares the record with the stream; returns its length and the problems."""
    problems = []

    def same(what, got, expected):
        if got != expected:
            problems.append(f'{what} {got}, stream has {expected}')

    if len(private) < 23:
        return 0, [f'CodecPrivate of {len(private)} bytes holds no record']
    r = private
    same('configurationVersion', r[0], 1)
    same('general_profile_space', r[1] >> 6, want.profile_space)
    same('general_tier_flag', (r[1] >> 5) & 1, want.tier)
    same('general_profile_idc', r[1] & 0x1F, want.profile_idc)
    same('general_profile_compatibility_flags', hex(int.from_bytes(r[2:6], 'big')),
         hex(want.compatibility))
    same('general_constraint_indicator_flags', hex(int.from_bytes(r[6:12], 'big')),
         hex(want.constraints))
    same('general_level_idc', r[12], want.level_idc)
    same('reserved bits before min_spatial_segmentation_idc', r[13] >> 4, 0xF)
    same('min_spatial_segmentation_idc', int.from_bytes(r[13:15], 'big') & 0xFFF,
         want.min_spatial)
    same('reserved bits before parallelismType', r[15] >> 2, 0x3F)
    same('parallelismType', r[15] & 3, want.parallelism)
    same('reserved bits before chromaFormat', r[16] >> 2, 0x3F)
    same('chromaFormat', r[16] & 3, want.chroma)
    same('reserved bits before bitDepthLumaMinus8', r[17] >> 3, 0x1F)
    same('bitDepthLumaMinus8', r[17] & 7, want.luma_minus8)
    same('reserved bits before bitDepthChromaMinus8', r[18] >> 3, 0x1F)
    same('bitDepthChromaMinus8', r[18] & 7, want.chroma_minus8)
    same('avgFrameRate', int.from_bytes(r[19:21], 'big'), 0)
    same('constantFrameRate', r[21] >> 6, 0)
    same('numTemporalLayers', (r[21] >> 3) & 7, want.temporal_layers)
    same('temporalIdNested', (r[21] >> 2) & 1, want.nested)
    same('lengthSizeMinusOne', r[21] & 3, 3)
    pos, units, headers = 23, [], []
    for i in range(r[22]):
        if pos + 3 > len(r):
            problems.append(f'array {i} runs past CodecPrivate')
            return pos, problems
        headers.append(r[pos])
        count = int.from_bytes(r[pos + 1:pos + 3], 'big')
        pos += 3
        for _ in range(count):
            length = int.from_bytes(r[pos:pos + 2], 'big')
            if pos + 2 + length > len(r):
                problems.append(f'a NAL unit of array {i} runs past CodecPrivate')
                return pos, problems
            units.append(r[pos + 2:pos + 2 + length])
            pos += 2 + length
    same('array headers', [f'{h:02x}' for h in headers],
         [f'{t:02x}' for t in (nal_type(u) for u in psets)])
    if len(units) != len(psets):
        problems.append(f'{len(units)} NAL units in the arrays, the stream has {len(psets)}')
    for i, (got, unit) in enumerate(zip(units, psets)):
        if got != unit:
            at = next((j for j, (a, b) in enumerate(zip(got, unit)) if a != b),
                      min(len(got), len(unit)))
            problems.append(f'NAL unit {i} (type {nal_type(got)}, {len(got)} bytes) differs '
                            f'from the stream\'s (type {nal_type(unit)}, {len(unit)} bytes) '
                            f'at byte {at}')
    same('CodecPrivate size', len(r), CODEC_PRIVATE_SIZE)
    if any(r[pos:]):
        problems.append(f'CodecPrivate has non-zero bytes after the {pos}-byte record')
    return pos, problems


# ---------------------------------------------------------------------------
# The case

def check_requirements(case: Case, sets: List[ParameterSet]):
    for kind, name, value in case.requires:
        got = next((p.get(name) for p in sets if p.kind == kind), None)
        if got != value:
            raise Failure(f'the encoded stream does not exercise the case: {kind} {name} is '
                          f'{got}, the case needs {value}')


def prerequisites(kxmux: Optional[str], module: Optional[str]):
    if not kxmux or not os.access(kxmux, os.X_OK):
        raise Skipped(f'kxmux was not built ({kxmux or "no kxmux target"})')
    if not module or not os.path.exists(module):
        raise Skipped(f'the module was not built ({module})')
    for tool in ('ffmpeg', 'ffprobe', 'mkvinfo', 'mkvmerge'):
        if not shutil.which(tool):
            raise Skipped(f'{tool} is not installed (Debian: ffmpeg mkvtoolnix)')
    encoders = text(run(['ffmpeg', '-hide_banner', '-encoders']).stdout)
    if not re.search(r'^\s*V\S*\s+libx265\s', encoders, re.M):
        raise Skipped('this ffmpeg has no libx265 encoder')
    bsfs = text(run(['ffmpeg', '-hide_banner', '-bsfs']).stdout).split()
    for bsf in ('trace_headers', 'hevc_mp4toannexb'):
        if bsf not in bsfs:
            raise Skipped(f'this ffmpeg has no {bsf} bitstream filter')


def run_case(case: Case, kxmux: str, module: str, work: str) -> str:
    started = time.monotonic()
    inp = make_input(case, os.path.join(work, 'inputs'))
    encoded = time.monotonic()
    sets = trace_parameter_sets(inp)
    check_requirements(case, sets)
    want = expected_record(sets)
    if case.restriction is not None and want.min_spatial != case.restriction:
        raise Failure(f'FFmpeg reads min_spatial_segmentation_idc {want.min_spatial} from the '
                      f'rewritten SPS, {case.restriction} was written')
    psets = stream_parameter_sets(inp)
    if sorted(nal_type(u) for u in psets) != [32, 33, 34]:
        raise Failure(f'the input\'s first sample starts with NAL types '
                      f'{[nal_type(u) for u in psets]}, expected one VPS, SPS and PPS')

    # FFmpeg's own reading of the stream agrees with its parse of the SPS.
    probe_in = probe_video(inp)
    chroma, depth = pix_fmt_layout(probe_in['pix_fmt'])
    decoder_view = {'profile': PROFILES.get(probe_in.get('profile'), probe_in.get('profile')),
                    'level': int(probe_in.get('level', -1)), 'chroma': chroma, 'depth': depth}
    parse_view = {'profile': want.profile_idc, 'level': want.level_idc, 'chroma': want.chroma,
                  'depth': want.luma_minus8 + 8}
    if decoder_view != parse_view:
        raise Failure(f'ffprobe reports {decoder_view}, the trace {parse_view}')

    out_dir = os.path.join(work, case.name)
    os.makedirs(out_dir, exist_ok=True)
    out = os.path.join(out_dir, case.name + '.mkv')
    log = os.path.join(out_dir, 'module.log')
    for stale in (out, log):
        if os.path.exists(stale):
            os.remove(stale)
    mux_start = time.monotonic()
    proc = run([kxmux, '-q', '--module', module, '--log', log, '--video-fourcc', 'HEVC',
                inp, out], check=False)
    mux_time = time.monotonic() - mux_start
    module_log = ''
    if os.path.exists(log):
        with open(log, encoding='utf-8', errors='replace') as f:
            module_log = ' | '.join(line.strip() for line in f if '[kx_mkv]' in line)
    if proc.returncode != 0:
        raise Failure(f'kxmux exited with {proc.returncode}: {text(proc.stderr).strip()} '
                      f'(module: {module_log})')

    problems = []

    proc = run(['ffprobe', '-v', 'error', '-show_format', '-show_streams', out], check=False)
    if proc.returncode != 0 or proc.stderr.strip():
        problems.append('ffprobe: ' + text(proc.stderr).strip()[:600])

    proc = run(['mkvinfo', '-a', out], check=False)
    bad = [line for line in text(proc.stdout + proc.stderr).splitlines()
           if re.search(r'error|warning', line, re.I)]
    if proc.returncode != 0 or bad:
        problems.append(f'mkvinfo (exit {proc.returncode}): ' + ' | '.join(bad[:5]))

    proc = run(['mkvmerge', '-J', out], check=False)
    try:
        report = json.loads(proc.stdout)
    except json.JSONDecodeError as e:
        raise Failure(f'mkvmerge -J printed no JSON: {e}') from e
    if report.get('errors') or report.get('warnings') \
            or not report.get('container', {}).get('recognized'):
        problems.append(f'mkvmerge: errors {report.get("errors")} warnings '
                        f'{report.get("warnings")}')
    tracks = [(t.get('type'), t.get('properties', {}).get('codec_id'))
              for t in report.get('tracks', [])]
    if tracks != [('video', 'V_MPEGH/ISO/HEVC'), ('audio', 'A_AAC')]:
        problems.append(f'mkvmerge identifies the tracks as {tracks}')
    video = next((t for t in report.get('tracks', []) if t.get('type') == 'video'), {})
    private = bytes.fromhex(video.get('properties', {}).get('codec_private_data', ''))

    record_length, record_problems = check_record(private, want, psets)
    problems += ['record: ' + p for p in record_problems]

    proc = run(['ffmpeg', '-nostdin', '-v', 'error', '-i', out, '-f', 'null', '-'], check=False)
    if proc.returncode != 0 or proc.stderr.strip():
        problems.append('ffmpeg decode: ' + text(proc.stderr).strip()[:600])

    frames_in, frames_out = count_frames(inp), count_frames(out)
    if frames_in != FRAMES:
        problems.append(f'the input decodes to {frames_in} frames, {FRAMES} were encoded')
    if frames_out != frames_in:
        problems.append(f'{frames_out} frames decoded from the file, {frames_in} from the input')
    elif frame_hashes(out) != frame_hashes(inp):
        problems.append('the file decodes to other pictures than the input')

    probe_out = probe_video(out)
    for key in ('codec_name', 'profile', 'level', 'pix_fmt'):
        if probe_out.get(key) != probe_in.get(key):
            problems.append(f'ffprobe reads {key} {probe_out.get(key)!r} from the file, '
                            f'{probe_in.get(key)!r} from the input')

    if problems:
        if module_log:
            problems.append('module log: ' + module_log)
        raise Failure('\n  '.join([''] + problems))

    tier = 'High' if want.tier else 'Main'
    return (f'{case.name}: {probe_in.get("profile")} {tier} tier level {want.level_idc}, '
            f'{probe_in["pix_fmt"]}, chroma {want.chroma}, depth-8 '
            f'{want.luma_minus8}/{want.chroma_minus8}, {want.temporal_layers} temporal '
            f'layer(s), nested {want.nested}, min_spatial {want.min_spatial}, parallelism '
            f'{want.parallelism}; record {record_length} bytes '
            f'(VPS/SPS/PPS {"/".join(str(len(u)) for u in psets)}); {frames_out} frames; '
            f'{os.path.getsize(out)} bytes; encode {encoded - started:.1f} s, kxmux '
            f'{mux_time:.2f} s, total {time.monotonic() - started:.1f} s')


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--list', action='store_true', help='print the case names')
    parser.add_argument('--kxmux', help='the kxmux program')
    parser.add_argument('--module', help='libkx_mkv.so for kxmux to load')
    parser.add_argument('--work', help='folder for the inputs and the written files')
    parser.add_argument('case', nargs='?')
    args = parser.parse_args()
    cases: Dict[str, Case] = {c.name: c for c in CASES}
    if args.list:
        print('\n'.join(cases))
        return 0
    if not args.work or args.case not in cases:
        parser.error('--work and one of the cases are needed (see --list)')
    try:
        prerequisites(args.kxmux, args.module)
        print(run_case(cases[args.case], os.path.abspath(args.kxmux),
                       os.path.abspath(args.module), os.path.abspath(args.work)))
        return 0
    except Skipped as e:
        print(f'SKIPPED: {e}')
        return SKIP
    except Failure as e:
        print(f'FAILED: {args.case}: {e}')
        return 1


if __name__ == '__main__':
    sys.exit(main())
