#!/usr/bin/env python3
"""Files written through kxmux and the kx_mkv module, checked by real readers.

A mux case encodes a short input with ffmpeg's test sources, remuxes it with
kxmux and runs CHECKS on the file, track by track where they read tracks. A
CLI case runs one of kxmux's failure paths.

Usage: conformance.py --list | --kxmux PATH --work DIR CASE
"""

import argparse
import base64
import collections
import fcntl
import functools
import json
import math
import os
import re
import shutil
import subprocess
import sys
from fractions import Fraction

SECONDS = '2.4'
AUDIO_SRC = f'-f lavfi -i sine=frequency=440:beep_factor=4:sample_rate=48000:duration={SECONDS}'


def av(rate):
    return (f'-f lavfi -i testsrc2=size=320x240:rate={rate}:duration={SECONDS} {AUDIO_SRC} '
            '-map 0:v -map 1:a').split()


# 25 fps puts starts on multiples of the 300 ms Cluster grid; frames of
# 40.5 ms put every other start on a half millisecond, where rounding shows.
AV, AV_HALF_MS, A_ONLY = av('25'), av('2000/81'), f'{AUDIO_SRC} -map 0:a'.split()
# Key frames every 480 ms (several cue points), B-frames (decode order differs).
X264 = '-c:v libx264 -preset veryfast -bf 2 -g 12 -keyint_min 12 -sc_threshold 0 -pix_fmt yuv420p'
VPX = '-deadline realtime -cpu-used 8 -b:v 300k -g 12'
AAC, OPUS, VORBIS = '-c:a aac -b:a 64k', '-c:a libopus -b:a 64k', '-c:a libvorbis -q:a 2'
INPUTS = {name: src + args.split() for name, src, args in [
    ('h264_aac.mp4', AV_HALF_MS, f'{X264} {AAC}'),
    ('h264_slices_aac.mp4', AV_HALF_MS, f'{X264} -x264-params slices=3 {AAC}'),
    ('h264_sar_aac.mp4', AV_HALF_MS, f'{X264} -vf setsar=4/3 {AAC}'),
    # Annex B with delimiters and in-band parameter sets, ADTS AAC.
    ('h264_aac.ts', AV, f'{X264} -aud 1 {AAC}'),
    ('h264_ac3.mkv', AV, f'{X264} -c:a ac3 -b:a 96k'),
    ('mpeg4_mp3.mkv', AV, '-c:v mpeg4 -q:v 5 -bf 1 -g 12 -c:a libmp3lame -b:a 64k'),
    ('mpeg2_mp2.mpg', AV, '-c:v mpeg2video -q:v 5 -bf 2 -g 12 -c:a mp2 -b:a 128k'),
    ('mpeg1_pcm.mkv', AV, '-c:v mpeg1video -q:v 5 -bf 0 -g 12 -c:a pcm_s16le'),
    ('vp8_vorbis.webm', AV, f'-c:v libvpx {VPX} {VORBIS}'),
    ('vp9_vorbis.webm', AV, f'-c:v libvpx-vp9 {VPX} {VORBIS}'),  # for the WEBM row
    ('vp9_opus.webm', AV, f'-c:v libvpx-vp9 {VPX} {OPUS}'),
    ('vp9_aac.mkv', AV, f'-c:v libvpx-vp9 {VPX} {AAC}'),
    ('av1_opus.mkv', AV, f'-c:v libaom-av1 -usage realtime -cpu-used 8 -b:v 300k -g 12 {OPUS}'),
    ('hevc_aac.mp4', AV_HALF_MS, '-c:v libx265 -preset ultrafast -x265-params '
     f'keyint=12:min-keyint=12:bframes=2:scenecut=0:log-level=error {AAC}'),
    ('aac.m4a', A_ONLY, AAC), ('mp3.mp3', A_ONLY, '-c:a libmp3lame -b:a 64k'),
    ('ac3.ac3', A_ONLY, '-c:a ac3 -b:a 96k'), ('opus.opus', A_ONLY, OPUS),
    ('vorbis.ogg', A_ONLY, VORBIS), ('pcm.wav', A_ONLY, '-c:a pcm_s16le'),
    ('dts.mkv', A_ONLY, '-c:a dca -strict -2 -ac 2')]}


def sources(*audio_rates, video=True, subtitles=False):
    """Inputs with several tracks, for --multi: test video, beeps of rising
    pitch at the given rates, and a SubRip script taken twice."""
    srt = base64.b64encode(b'1\n00:00:00,500 --> 00:00:01,200\nHello\n\n'
                           b'2\n00:00:01,400 --> 00:00:02,000\nWorld\n').decode()
    kinds = ['v'] * video + ['a'] * len(audio_rates)
    args = [f'-f lavfi -i testsrc2=size=320x240:rate=25:duration={SECONDS}'] * video + [
        f'-f lavfi -i sine=frequency={220 * (i + 2)}:beep_factor=4:sample_rate={rate}:'
        f'duration={SECONDS}' for i, rate in enumerate(audio_rates)]
    args += [f'-f srt -i data:text/plain;base64,{srt}'] * subtitles
    args += [f'-map {i}:{kind}' for i, kind in enumerate(kinds)]
    return ' '.join(args + [f'-map {len(kinds)}:s'] * (2 * subtitles)).split()


INPUTS.update({name: src + args.split() for name, src, args in [
    ('h264_two_aac.mkv', sources(48000, 44100), f'{X264} {AAC}'),
    ('hevc_aac_ac3.mkv', sources(48000, 48000), '-c:v libx265 -preset ultrafast -x265-params '
     'keyint=12:min-keyint=12:bframes=2:scenecut=0:log-level=error -c:a:0 aac -c:a:1 ac3'),
    ('vp9_two_vorbis.webm', sources(48000, 44100), f'-c:v libvpx-vp9 {VPX} {VORBIS}'),
    ('three_audio.mkv', sources(48000, 44100, 32000, video=False),
     '-c:a:0 aac -c:a:1 ac3 -c:a:2 libmp3lame'),
    ('h264_aac_subtitles.mkv', sources(48000, subtitles=True),
     f'{X264} {AAC} -c:s:0 srt -c:s:1 ass')]})


class Failure(Exception):
    pass


def run(cmd, check=True, **kwargs):
    proc = subprocess.run(cmd, capture_output=True, check=False, **kwargs)
    if check and proc.returncode != 0:
        raise Failure(f'{" ".join(cmd)} exited with {proc.returncode}: '
                      f'{proc.stderr.decode(errors="replace").strip()[-1500:]}')
    return proc


def silent(*cmd):
    """Runs a reader that must neither fail nor say anything on stderr."""
    proc = run(cmd, check=False)
    if proc.returncode != 0 or proc.stderr.strip():
        raise Failure(f'{cmd[0]}: {proc.stderr.decode(errors="replace").strip()[:600]}')


def probe(path, *args):
    return json.loads(run(['ffprobe', '-v', 'error', *args, '-of', 'json', path]).stdout)


def stream(path, selector):
    return probe(path, '-select_streams', selector, '-show_streams', '-show_data')['streams'][0]


def hexdump(text):
    return b''.join(bytes.fromhex(line.split(':', 1)[1][:41].replace(' ', ''))
                    for line in text.splitlines() if ':' in line)


def extradata(path, selector):
    return hexdump(stream(path, selector).get('extradata', ''))


def make_input(work, name, command, edit=None):
    """Encodes an input once per build tree; cases running at the same time
    wait on a lock, and a changed command encodes it again."""
    path = os.path.join(work, 'inputs', name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    cmd = ['ffmpeg', '-nostdin', '-v', 'error', '-y', *command, '-map_metadata', '-1', '-fflags',
           '+bitexact', '-flags:v', '+bitexact', '-flags:a', '+bitexact']
    stamp, tmp = path + '.cmd', os.path.join(os.path.dirname(path), 'tmp-' + name)
    with open(path + '.lock', 'w') as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if os.path.exists(path) and os.path.exists(stamp) and open(stamp).read() == repr(cmd):
            return path
        run(cmd + [tmp])
        if edit:
            edit(tmp)
        os.replace(tmp, path)
        with open(stamp, 'w') as f:
            f.write(repr(cmd))
    return path


# ---------------------------------------------------------------------------
# Packets, and the blocks the module's rules make of them

Packet = collections.namedtuple('Packet', 'time host key data')  # time: pts (ms in Matroska)
Block = collections.namedtuple('Block', 'start key data')  # as handed to the module


def read_packets(path, selector):
    info = probe(path, '-select_streams', selector, '-show_streams', '-show_packets',
                 '-show_data')
    time_base, packets = Fraction(info['streams'][0]['time_base']), []
    for p in info.get('packets', []):
        time = int(p['pts'] if p.get('pts', 'N/A') != 'N/A' else p['dts'])
        # kxmux's av_rescale_q to 100 ns: to nearest, halves away from zero.
        exact = time * time_base * 10_000_000
        host = int(abs(exact) + Fraction(1, 2)) * (1 if exact >= 0 else -1)
        packets.append(Packet(time, host, 'K' in p['flags'], hexdump(p.get('data', ''))))
    return packets


def ms(t):
    """The module's conversion: (t + 5000) / 10000, truncating toward zero."""
    return int(Fraction(t + 5000, 10000))


def nal_units(data, config, codec):
    """An H.264/HEVC sample's NAL units: length-prefixed when the input's
    configuration is a record (first byte 1, giving the field size), else
    Annex B."""
    if config[:1] != b'\x01':
        starts = [m.end() for m in re.finditer(b'\x00\x00\x01', data)] + [len(data) + 3]
        return [u for u in (data[a:b - 3].rstrip(b'\x00') for a, b in zip(starts, starts[1:]))
                if u]
    field, pos, units = (config[4 if codec == 'h264' else 21] & 3) + 1, 0, []
    while pos < len(data):
        length = int.from_bytes(data[pos:pos + field], 'big')
        units.append(data[pos + field:pos + field + length])
        pos += field + length
    return units


def prefixed(units):
    return b''.join(len(u).to_bytes(4, 'big') + u for u in units)


def expect_same(packets, _config, _codec):
    return [Block(p.host, p.key, p.data) for p in packets if p.data]


def kept_units(types, key=None, one_per_unit=False, shift=0, mask=0x1F):
    """A rule for NAL-unit codecs: keep the units whose type is in `types`;
    one block per sample, or per unit; the key flag the sample's, or whether
    the last unit kept has a type in `key`."""
    def expect(packets, config, codec):
        blocks = []
        for p in packets:
            units = [u for u in nal_units(p.data, config, codec) if u[0] >> shift & mask in types]
            for group in ([u] for u in units) if one_per_unit else [units] if units else []:
                blocks.append(Block(p.host, p.key if key is None else
                                    group[-1][0] >> shift & mask in key, prefixed(group)))
        return blocks
    return expect


# H264 with start codes: one block per sample, slices, parameter sets and
# delimiters kept. I264: a block per slice with the sample's times, key when
# IDR. K264 and havc: as kxmux hands them. HEVC: VPS, SPS and PPS leave the
# samples, and the last unit kept (IDR, CRA) makes a key frame.
H264_CONVERSION = kept_units((1, 5, 7, 8, 9))
H264_NAL_UNITS = kept_units((1, 5), key=(5,), one_per_unit=True)
LENGTH_PREFIXED = kept_units(range(32))
HEVC = kept_units(set(range(64)) - {32, 33, 34}, key=(19, 20, 21), shift=1, mask=0x3F)


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


def reference_flags(blocks):
    """Key flags as a reader sees BlockGroups: key unless a ReferenceBlock is
    written, as for a non-key frame and a frame starting where the previous
    one did, once the track has had a start of 0 or more."""
    flags, last = [], -1
    for b in blocks:
        flags.append(not ((not b.key or last == b.start) and last >= 0))
        last = b.start
    return flags


# ---------------------------------------------------------------------------
# Cases

Track = collections.namedtuple('Track', 'selector codec_id number expect')  # number: TrackNumber


def video(codec_id, expect=expect_same, selector='v:0', number=2):
    return Track(selector, codec_id, number, expect)


def audio(codec_id, expect=expect_same, selector='a:0', number=3):
    return Track(selector, codec_id, number, expect)


# ext: of the output; simple_blocks: SimpleBlocks carry the key flag
# themselves; grid: the Clusters' span, ms; known: check -> text of the
# failure a reader's known limit causes (each is in docs/compatibility.md);
# record: a further check (file, input, case); encode, edit: ffmpeg arguments
# of an input not in INPUTS, and a change made to it once encoded.
MuxCase = collections.namedtuple(
    'MuxCase', 'name input args tracks ext simple_blocks grid known record encode edit',
    defaults=('.mkv', False, 300, {}, None, None, None))
AVC, SLICES = 'V_MPEG4/ISO/AVC', 'illegal short term buffer state detected'


def mux(name, inp, args, *tracks, **kwargs):
    return MuxCase(name, inp, args.split(), list(tracks), **kwargs)


def webm(name, inp, args, *tracks):
    """The WEBM row: SimpleBlocks, 1000 ms Clusters, tracks 1 (video) and 2."""
    return mux(name, inp, f'--format WEBM {args}',
               *[t._replace(number=t.number - 1) for t in tracks], ext='.webm',
               simple_blocks=True, grid=1000)


def multi(name, inp, *tracks, **kwargs):
    """--multi: every track of the input, in its order, numbered from 1."""
    return mux(name, inp, '--multi', *[t._replace(number=i + 1) for i, t in enumerate(tracks)],
               **kwargs)


MUX_CASES = [
    mux('mkv_h264_aac', 'h264_aac.mp4', '', video(AVC, H264_CONVERSION), audio('A_AAC')),
    mux('mkv_h264_ts_conversion', 'h264_aac.ts', '', video(AVC, H264_CONVERSION),
        audio('A_AAC', expect_adts_stripped)),
    mux('mkv_i264_aac', 'h264_aac.mp4', '--video-fourcc I264', video(AVC, H264_NAL_UNITS),
        audio('A_AAC')),
    # FFmpeg's decoder takes each block of a slice for a whole picture.
    mux('mkv_i264_slices', 'h264_slices_aac.mp4', '--video-fourcc I264',
        video(AVC, H264_NAL_UNITS), audio('A_AAC'),
        known={'decode': SLICES, 'decode_after_seek': SLICES}),
    mux('mkv_h264_display_aspect', 'h264_sar_aac.mp4', '', video(AVC, H264_CONVERSION),
        audio('A_AAC')),
    mux('mkv_xvid_mp3', 'mpeg4_mp3.mkv', '', video('V_MPEG4/ISO/ASP', expect_mpeg4_vol_in_band),
        audio('A_MPEG/L3')),
    mux('mkv_vp9_opus', 'vp9_opus.webm', '', video('V_VP9'), audio('A_OPUS')),
    mux('mkv_av1_opus', 'av1_opus.mkv', '', video('V_AV1'), audio('A_OPUS')),
    mux('mkv_hevc_aac', 'hevc_aac.mp4', '', video('V_MPEGH/ISO/HEVC', HEVC), audio('A_AAC')),
    mux('kmkv_i264_ac3', 'h264_ac3.mkv', '--format KMKV', video(AVC, H264_NAL_UNITS),
        audio('A_AC3')),
    mux('kmkv_k264_ac3', 'h264_ac3.mkv', '--format KMKV --video-fourcc K264',
        video(AVC, LENGTH_PREFIXED), audio('A_AC3')),
    mux('kmkv_vp9_aac', 'vp9_aac.mkv', '--format KMKV', video('V_VP9'), audio('A_AAC')),
    mux('hmkv_havc_ac3', 'h264_ac3.mkv', '--format HMKV --video-fourcc havc',
        video(AVC, LENGTH_PREFIXED), audio('A_AC3')),
    mux('hmkv_i264_ac3', 'h264_ac3.mkv', '--format HMKV', video(AVC, H264_NAL_UNITS),
        audio('A_AC3')),
    mux('any_mpeg2_mp2', 'mpeg2_mp2.mpg', '--any-codec', video('V_MPEG2'), audio('A_MPEG/L2')),
    mux('any_mpeg1_pcm', 'mpeg1_pcm.mkv', '--any-codec', video('V_MPEG1'),
        audio('A_PCM/INT/LIT')),
    mux('any_vp8_vorbis', 'vp8_vorbis.webm', '--any-codec', video('V_VP8'), audio('A_VORBIS')),
] + [mux(f'mka_{name}', inp, args, audio(codec), ext='.mka') for name, inp, args, codec in [
    ('aac', 'aac.m4a', '', 'A_AAC'), ('mp3', 'mp3.mp3', '', 'A_MPEG/L3'),
    ('ac3', 'ac3.ac3', '', 'A_AC3'), ('opus', 'opus.opus', '', 'A_OPUS'),
    ('from_video_input', 'h264_aac.mp4', '', 'A_AAC'),
    ('any_vorbis', 'vorbis.ogg', '--any-codec', 'A_VORBIS'),
    ('any_pcm', 'pcm.wav', '--any-codec', 'A_PCM/INT/LIT'),
    ('any_dts', 'dts.mkv', '--any-codec', 'A_DTS')]] + [
    webm('webm_vp8_vorbis', 'vp8_vorbis.webm', '', video('V_VP8'), audio('A_VORBIS')),
    webm('webm_vp9_vorbis', 'vp9_vorbis.webm', '', video('V_VP9'), audio('A_VORBIS')),
    # No conversion path: kxmux hands H264 length-prefixed, stored as it comes.
    webm('webm_any_h264_aac', 'h264_aac.mp4', '--any-codec', video(AVC, LENGTH_PREFIXED),
         audio('A_AAC')),
    webm('webm_vp9_alone', 'vp9_vorbis.webm', '--no-audio', video('V_VP9')),
    webm('webm_vorbis_alone', 'vorbis.ogg', '', audio('A_VORBIS')),
    multi('multi_h264_two_aac', 'h264_two_aac.mkv', video(AVC, H264_CONVERSION), audio('A_AAC'),
          audio('A_AAC', selector='a:1')),
    multi('multi_hevc_aac_ac3', 'hevc_aac_ac3.mkv', video('V_MPEGH/ISO/HEVC', HEVC),
          audio('A_AAC'), audio('A_AC3', selector='a:1')),
    multi('multi_webm_vp9_two_vorbis', 'vp9_two_vorbis.webm', video('V_VP9'), audio('A_VORBIS'),
          audio('A_VORBIS', selector='a:1'), ext='.webm', simple_blocks=True),
    multi('multi_mka_three_audio', 'three_audio.mkv', audio('A_AAC'),
          audio('A_AC3', selector='a:1'), audio('A_MPEG/L3', selector='a:2'), ext='.mka'),
    multi('multi_h264_aac_subtitles', 'h264_aac_subtitles.mkv', video(AVC, H264_CONVERSION),
          audio('A_AAC'), Track('s:0', 'S_TEXT/UTF8', 0, expect_same),
          Track('s:1', 'S_TEXT/ASS', 0, expect_same))]


# ---------------------------------------------------------------------------
# Checks of a written file

@functools.cache
def mkvmerge_report(out):
    return json.loads(run(['mkvmerge', '-J', out], check=False).stdout or b'{}')


def check_mkvmerge(out, inp, case):
    """Every track with its CodecID, number and the TrackEntry values a
    reader depends on."""
    report = mkvmerge_report(out)
    if report.get('errors') or report.get('warnings') or \
            not report.get('container', {}).get('supported'):
        raise Failure(f'mkvmerge: {report.get("errors")} {report.get("warnings")}')
    found = [(t['properties'].get('codec_id'), t['properties'].get('number'))
             for t in report['tracks']]
    if found != [(t.codec_id, t.number) for t in case.tracks]:
        raise Failure(f'mkvmerge reads the tracks (CodecID, number) {found}')
    for track, entry in zip(case.tracks, report['tracks']):
        got, source = entry['properties'], stream(inp, track.selector)
        if source['codec_type'] == 'video':
            w, h = source['width'], source['height']
            want = {'pixel_dimensions': f'{w}x{h}',
                    'default_duration': int(1e9 / float(Fraction(source['avg_frame_rate']))),
                    'display_aspect_ratio': source.get(
                        'display_aspect_ratio', f'{w // math.gcd(w, h)}:{h // math.gcd(w, h)}')}
            got['display_aspect_ratio'] = stream(out, track.selector).get('display_aspect_ratio')
        else:
            want = {'audio_sampling_frequency': int(source['sample_rate']),
                    'audio_channels': source['channels']} if source['codec_type'] == 'audio' else {}
            if track.codec_id in ('A_AAC', 'A_OPUS', 'A_VORBIS', 'S_TEXT/ASS') and \
                    source.get('extradata_size'):
                want['codec_private_data'] = hexdump(source['extradata']).hex()
        wrong = {k: (got.get(k), v) for k, v in want.items() if got.get(k) != v}
        if wrong:
            raise Failure(f'track {track.number}: (read, expected) {wrong}')


def compare_packets(out, inp, case):
    """Every track's packets: the input's as the module's rules make them,
    times exact to its milliseconds from the earliest first block."""
    expected = [t.expect(read_packets(inp, t.selector), extradata(inp, t.selector),
                         stream(inp, t.selector)['codec_name']) for t in case.tracks]
    base = min(ms(blocks[0].start) for blocks in expected)
    problems = []
    for track, blocks in zip(case.tracks, expected):
        got = read_packets(out, track.selector)
        keys = [b.key for b in blocks] if case.simple_blocks else reference_flags(blocks)
        if track.codec_id == AVC:  # FFmpeg's parser makes any IDR packet key
            keys = [k or any(u[0] & 0x1F == 5 for u in nal_units(b.data, b'\1\0\0\0\3', 'h264'))
                    for k, b in zip(keys, blocks)]
        if len(got) != len(blocks):
            problems.append(f'track {track.number}: {len(got)} packets, {len(blocks)} expected')
        for i, (b, g, key) in enumerate(zip(blocks, got, keys)):
            if (g.time, g.key, g.data) != (ms(b.start) - base, key, b.data):
                problems.append(f'track {track.number} packet {i}: (ms, key, size) '
                                f'{(g.time, g.key, len(g.data))}, expected '
                                f'{(ms(b.start) - base, key, len(b.data))}'
                                f'{"" if g.data == b.data else ", other bytes"}')
    if problems:
        raise Failure('; '.join(problems[:6]))


@functools.cache
def parse_layout(out):
    """Top-level elements by position, Seeks, cue points, Clusters with their
    blocks (track, ms, key) and the DocType as `mkvinfo -a -P` lists them."""
    elements, seeks, cues, clusters, seek_id, ref, doc_type = {}, [], [], [], None, False, None

    def ms_of(stamp):
        h, m, s = stamp.split(':')
        return (int(h) * 3600 + int(m) * 60 + Fraction(s)) * 1000

    proc = run(['mkvinfo', '-a', '-P', out], check=False)
    text = (proc.stdout + proc.stderr).decode(errors='replace')
    if proc.returncode or re.search(r'error|warning', text, re.I):
        raise Failure(f'mkvinfo (exit {proc.returncode}): {text[-600:]}')
    for line in text.splitlines():
        if m := re.search(r'Document type: (\w+)', line):
            doc_type = m[1]
        elif m := re.match(r'\|\+ (.+?)(?::.*)? at (\d+)$', line):
            elements[int(m[2])] = m[1]
            if m[1] == 'Cluster':
                clusters.append({'pos': int(m[2]), 'blocks': []})
        elif m := re.search(r'Seek ID: .*\((Kax\w+)\)', line):
            seek_id = m[1]
        elif m := re.search(r'Seek position: (\d+)', line):
            seeks.append((seek_id, int(m[1])))
        elif '+ Cue point' in line:
            cues.append({'block number': None})
        elif m := re.search(r'Cue (time|track|cluster position|block number): ([\d:.]+)', line):
            cues[-1][m[1]] = ms_of(m[2]) if m[1] == 'time' else int(m[2])
        elif m := re.search(r'Cluster timestamp: ([\d:.]+)', line):
            clusters[-1]['time'] = ms_of(m[1])
        elif '+ Block group' in line or 'Reference block' in line:
            ref = 'Reference' in line
        elif m := re.search(r'(Simple )?[Bb]lock: (key, )?.*number (\d+).*timestamp ([\d:.]+)',
                            line):
            clusters[-1]['blocks'].append((int(m[3]), ms_of(m[4]), bool(m[2] if m[1] else not ref)))
    return elements, seeks, cues, clusters, doc_type


KAX_NAMES = {'KaxInfo': 'Segment information', 'KaxTracks': 'Tracks', 'KaxCues': 'Cues',
             'KaxSeekHead': 'Seek head', 'KaxCluster': 'Cluster'}


def check_layout(out, _inp, case):
    """mkvinfo silent; SeekHead, the Cluster grid, cue points, a seek."""
    elements, seeks, cues, clusters, _ = parse_layout(out)
    info = min((p for p, name in elements.items() if name == 'Segment information'), default=0)
    data_start = info - dict(seeks).get('KaxInfo', info)
    for kax, pos in seeks:
        if elements.get(data_start + pos) != KAX_NAMES.get(kax, kax):
            raise Failure(f'Seek for {kax} points at {data_start + pos}: '
                          f'{elements.get(data_start + pos, "no top-level element")}')
    # A Cluster opens, on the grid step that holds it, for a block past the
    # end of the one before; no block lies past the end of its Cluster.
    end = -1
    for c in clusters:
        first, last = c['blocks'][0][1], max(b[1] for b in c['blocks'])
        if c['time'] % case.grid or last > c['time'] + case.grid or first <= end or \
                not (c['time'] < first if end >= 0 else c['time'] == first == 0):
            raise Failure(f'Cluster {c["time"]} ms holds blocks from {first} to {last} ms')
        end = c['time'] + case.grid
    # A cue point for the first key frame of the cue track in each Cluster,
    # numbered among that track's blocks unless it is the Cluster's first
    # block. The cue track is the video track, else number 2: the WEBM row's
    # audio track, no track of a Matroska row's file; through --multi the
    # first audio track.
    cue_track, want = next((t.number for t in case.tracks if t.selector[0] == 'v'),
                           case.tracks[0].number if '--multi' in case.args else 2), []
    for c in clusters:
        ours = [b for b in c['blocks'] if b[0] == cue_track]
        key = next((i for i, b in enumerate(ours) if b[2]), None)
        if key is not None:
            want.append({'block number': None if c['blocks'][0] == ours[key] else key + 1,
                         'time': ours[key][1], 'track': cue_track,
                         'cluster position': c['pos'] - data_start})
    if cues != want:
        raise Failure(f'cue points {cues[:3]}..., expected {want[:3]}...')
    # A seek to the middle lands on the last cue point at or before it (a
    # 1000 ms Cluster cues only its first key frame); without cues FFmpeg
    # searches the Clusters and may land up to 500 ms before the last key frame.
    first = case.tracks[0].selector
    keys = sorted(p.time for p in read_packets(out, first) if p.key)
    middle = max(b[1] for c in clusters for b in c['blocks']) / 2
    landed = probe(out, '-read_intervals', f'{float(middle) / 1000:.3f}%+#1', '-select_streams',
                   first, '-show_entries', 'packet=pts,flags').get('packets', [])
    before = [k for k in ([c['time'] for c in cues] or keys) if k <= middle] or [None]
    at = int(landed[0]['pts']) if landed and 'K' in landed[0]['flags'] else None
    if at not in keys or not before[-1] - (0 if cues else 500) <= at <= before[-1]:
        raise Failure(f'seeking to {float(middle):.0f} ms lands on {landed[:1]}; the last key '
                      f'frame before is at {before[-1]} ms')


def check_summary(out, _inp, case):
    """kxmux --json: the file as mkvmerge -J and mkvinfo read it."""
    summary = json.load(open(os.path.join(os.path.dirname(out), 'summary.json')))
    report, (_, _, cues, clusters, doc_type) = mkvmerge_report(out), parse_layout(out)
    duration = report['container']['properties']['duration'] / 1e9
    format_arg = case.args[case.args.index('--format') + 1] if '--format' in case.args else None
    tracks = []
    for track in report['tracks']:
        p, kind = track['properties'], track['type'].rstrip('s')
        tracks.append({'number': p['number'], 'type': kind, 'codec_id': p['codec_id'],
                       'track_type': {'video': 1, 'audio': 2, 'subtitle': 17}[kind]})
        if kind == 'video':
            tracks[-1].update(zip(('width', 'height'), map(int, p['pixel_dimensions'].split('x'))))
        elif kind == 'audio':
            tracks[-1].update(sampling_frequency=p['audio_sampling_frequency'],
                              channels=p['audio_channels'])
    want = {'file': out, 'bytes': os.path.getsize(out), 'doc_type': doc_type,
            'duration_seconds': round(duration, 3), 'clusters': len(clusters),
            'cue_points': len(cues), 'tracks': tracks, 'module': {
                'path': os.path.realpath(summary['module']['path']),
                'row': format_arg or {'.mkv': 'MKV', '.mka': 'MKA', '.webm': 'WEBM'}[case.ext]}}
    # Both durations come from the same element; kxmux rounds to the millisecond.
    if abs(summary.get('duration_seconds', 0) - duration) < 0.002:
        want['duration_seconds'] = summary['duration_seconds']
    if summary != want or not os.path.basename(summary['module']['path']).startswith('libkx_mkv'):
        raise Failure(f'kxmux --json printed {summary}, the file holds {want}')


def decode(out, *seek):
    silent('ffmpeg', '-nostdin', '-v', 'error', *seek, '-i', out, '-fps_mode', 'passthrough',
           '-enc_time_base', '-1', '-f', 'null', '-')


CHECKS = {
    'ffprobe': lambda o, i, c: silent('ffprobe', '-v', 'error', '-show_format', '-show_streams', o),
    'mkvmerge': check_mkvmerge, 'packets': compare_packets, 'summary': check_summary,
    'decode': lambda o, i, c: decode(o), 'layout': check_layout,
    'decode_after_seek': lambda o, i, c: decode(o, '-ss', str(float(
        probe(o, '-show_entries', 'format=duration')['format']['duration']) / 2))}


def run_mux_case(kxmux, work, case):
    inp = make_input(work, case.input, INPUTS.get(case.input) or case.encode, case.edit)
    out = os.path.join(work, case.name, case.name + case.ext)
    proc = run([kxmux, '-q', '--json', *case.args, inp, out], check=False)
    if proc.returncode != 0 or os.path.exists(out + '.part') or not os.path.exists(out):
        raise Failure(f'kxmux exited with {proc.returncode}, OUTPUT or OUTPUT.part wrong: '
                      f'{proc.stderr.decode(errors="replace")}')
    with open(os.path.join(work, case.name, 'summary.json'), 'wb') as f:
        f.write(proc.stdout)
    failed = []
    for name, check in {**CHECKS, **({'record': case.record} if case.record else {})}.items():
        try:
            check(out, inp, case)
            print(f'ok {name}' + (' (the known issue is gone)' if name in case.known else ''))
        except Failure as e:
            known = case.known.get(name)
            print(f'{"KNOWN" if known and known in str(e) else "FAIL"} {name}: {e}')
            failed += [] if known and known in str(e) else [name]
    if failed:
        raise Failure(f'{", ".join(failed)} failed')


# ---------------------------------------------------------------------------
# kxmux's own behaviour

CliCase = collections.namedtuple('CliCase', 'name args status stderr log stdout',
                                 defaults=('error', None, ()))
# args: {in:NAME} an input, {out} the output, {dir} the case's folder; log: a
# text the module log must hold. An OUTPUT.part folder makes the module refuse.
CLI_CASES = [CliCase(name, args.split(), *rest) for name, args, *rest in [
    ('cli_bad_format', '--format AVI', 2), ('cli_three_files', 'a b c', 2),
    ('cli_unknown_option', '--frobnicate', 2), ('cli_option_without_value', '--format', 2),
    ('cli_garbage_input', '{dir}/garbage.mp4 {out}.mkv', 1, 'cannot'),
    ('cli_missing_input', '{dir}/missing.mp4 {out}.mkv', 1, 'cannot open'),
    ('cli_unlisted_codec', '{in:mpeg2_mp2.mpg} {out}.mkv', 1, '--any-codec'),
    ('cli_webm_lists_no_h264', '{in:h264_aac.mp4} {out}.webm', 1, '--any-codec'),
    ('cli_fourcc_misfit', '--video-fourcc HEVC {in:h264_aac.mp4} {out}.mkv', 1, 'does not fit'),
    ('cli_module_refuses', '--log {dir}/log {in:h264_aac.mp4} {dir}/refused.mkv', 1, 'refused',
     'kx_mkv.dll: Create media file[{dir}/refused.mkv.part] failed\n'),
    ('cli_module_missing', '--module {dir}/none.so {in:h264_aac.mp4} {out}.mkv', 1,
     'cannot load'),
    ('cli_log', '-q --log {dir}/log {in:aac.m4a} {out}.mka', 0, '',
     'kx_mkv.dll: Return file formats...\nkx_mkv: GetFileMultiStreamFormats... \n'),
    ('cli_sample', '', 0, '', None, (AVC, 'A_AAC', 'cue point', 'cluster', 'duration')),
    ('cli_json_escapes', '--json {in:aac.m4a} {dir}/a"b\\c.mka', 0, '', None,
     ('"file":"{dir}/a\\"b\\\\c.mka"',))]]


def run_cli_case(kxmux, work, case):
    folder = os.path.join(work, case.name)
    with open(os.path.join(folder, 'garbage.mp4'), 'wb') as f:
        f.write(b'this is not media\n' * 64)
    os.makedirs(os.path.join(folder, 'refused.mkv.part'))
    args = [re.sub(r'\{in:([^}]+)\}', lambda m: make_input(work, m[1], INPUTS[m[1]]),
                   a.replace('{out}', folder + '/out').replace('{dir}', folder))
            for a in case.args]
    proc = run([kxmux, *args], check=False, cwd=folder)
    err, text = proc.stderr.decode(errors='replace'), proc.stdout.decode(errors='replace')
    if proc.returncode != case.status or case.stderr not in err:
        raise Failure(f'exit {proc.returncode} (expected {case.status}), stderr: {err.strip()}')
    outputs = sorted(os.path.relpath(os.path.join(d, n), folder) for d, _, names in
                     os.walk(folder) for n in names if n != 'garbage.mp4')
    if case.status and outputs != (['log'] if case.log else []):
        raise Failure(f'{outputs} exist after a failed run')
    if not os.path.isdir(os.path.join(folder, 'refused.mkv.part')):
        raise Failure('kxmux removed a folder it did not create')
    log = case.log and case.log.replace('{dir}', folder)
    if log and log not in open(os.path.join(folder, 'log'), errors='replace').read():
        raise Failure(f'the module log lacks {log!r}')
    if any(t.replace('{dir}', folder) not in text for t in case.stdout):
        raise Failure(f'stdout lacks one of {case.stdout}: {text}')
    if case.status == 0:
        decode(os.path.join(folder, next(p for p in outputs if p != 'log')))


def main(mux_cases=None):
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('--list', action='store_true')
    parser.add_argument('--kxmux')
    parser.add_argument('--work')
    parser.add_argument('case', nargs='?')
    args = parser.parse_args()
    cases = {c.name: c for c in mux_cases or MUX_CASES + CLI_CASES}
    if args.list:
        print('\n'.join(cases))
        return 0
    kxmux, work, case = os.path.abspath(args.kxmux), os.path.abspath(args.work), cases[args.case]
    shutil.rmtree(os.path.join(work, args.case), ignore_errors=True)
    os.makedirs(os.path.join(work, args.case))
    try:
        if isinstance(case, MuxCase):
            run_mux_case(kxmux, work, case)
        else:
            run_cli_case(kxmux, work, case)
    except Failure as e:
        print(f'FAILED: {e}')
        return 1
    print('passed')
    return 0


if __name__ == '__main__':
    sys.exit(main())
