#!/usr/bin/env python3
"""Real HEVC streams (libx265, with AAC) muxed by `kxmux --video-fourcc HEVC`:
every conformance check, and the hvcC record in CodecPrivate field by field
against FFmpeg's trace_headers parse of the stream, its arrays exactly the
stream's VPS, SPS and PPS. Cases with `restriction` add the VUI bitstream
restriction libx265 never writes to the SPS in the MP4's hvcC box.

Usage: hevc_streams.py --list | --kxmux PATH --work DIR CASE
"""

import functools
import os
import re
import sys

sys.dont_write_bytecode = True  # no cache files in the source tree
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'conformance'))
import conformance as c  # noqa: E402

X265 = 'info=0:log-level=error:keyint=25:min-keyint=25:scenecut=0'
TEMPORAL = ':temporal-layers=1:b-pyramid=1:bframes=4'
VUI = (':overscan=show:videoformat=pal:range=full:colorprim=bt2020:transfer=bt2020-10:'
       'colormatrix=bt2020nc:chromaloc=2:display-window=0,0,0,8:hrd=1:vbv-bufsize=300:'
       'vbv-maxrate=300')
SECTIONS = {'Video Parameter Set': 'VPS', 'Sequence Parameter Set': 'SPS',
            'Picture Parameter Set': 'PPS'}
# The record's header, field by field with its width in bits.
FIELDS = [(f, int(n)) for f, n in (item.split(':') for item in (
    'configurationVersion:8 general_profile_space:2 general_tier_flag:1 general_profile_idc:5 '
    'general_profile_compatibility_flags:32 general_constraint_indicator_flags:48 '
    'general_level_idc:8 reserved4:4 min_spatial_segmentation_idc:12 reserved6:6 '
    'parallelismType:2 reserved6:6 chromaFormat:2 reserved5:5 bitDepthLumaMinus8:3 reserved5:5 '
    'bitDepthChromaMinus8:3 avgFrameRate:16 constantFrameRate:2 numTemporalLayers:3 '
    'temporalIdNested:1 lengthSizeMinusOne:2 numOfArrays:8').split())]

def trace(path):
    """{kind: [(bit offset, name, bits, value)]} of the parameter sets in the
    input's configuration, as FFmpeg's trace_headers parses them."""
    log = c.run(['ffmpeg', '-hide_banner', '-nostdin', '-v', 'info', '-i', path, '-map', '0:v',
                 '-c', 'copy', '-bsf:v', 'trace_headers', '-frames:v', '1', '-f', 'null', '-'])
    sets, kind = {}, None
    for line in log.stderr.decode(errors='replace').split('Packet:')[0].splitlines():
        body = line.split('] ', 1)[-1].strip()
        if body in SECTIONS:
            kind = SECTIONS[body]
            sets[kind] = []
        elif m := re.match(r'(\d+)\s+(\S+)\s+([01]+) = (-?\d+)$', body):
            sets[kind].append((int(m[1]), m[2], m[3], int(m[4])))
    return sets


def get(sets, kind, name, bits=0):
    """A value, or `bits` bits joined from the elements starting at `name`."""
    elements = sets.get(kind, [])
    first = next((e for e in elements if e[1] == name), None)
    if first is None:
        raise c.Failure(f'FFmpeg reports no {name} in the {kind}')
    joined = ''.join(e[2] for e in elements if first[0] <= e[0] < first[0] + bits)
    return int(joined, 2) if bits else first[3]


def arrays(record):
    """The (NAL type, unit) pairs of an hvcC record's arrays."""
    units, pos = [], 23
    for _ in range(record[22]):
        kind, count = record[pos] & 0x3F, int.from_bytes(record[pos + 1:pos + 3], 'big')
        pos += 3
        for _ in range(count):
            length = int.from_bytes(record[pos:pos + 2], 'big')
            units.append((kind, bytes(record[pos + 2:pos + 2 + length])))
            pos += 2 + length
    return units, pos


def add_restriction(min_spatial):
    """Edits an encoded MP4: the SPS gets a VUI bitstream restriction; the
    boxes around hvcC grow with it (moov follows mdat, so no offset moves)."""
    def edit(path):
        with open(path, 'rb') as f:
            data = bytearray(f.read())
        sps = next(u for kind, u in arrays(c.extradata(path, 'v:0'))[0] if kind == 33)
        flag, stop = (next(e[0] for e in trace(path)['SPS'] if e[1] == name)
                      for name in ('bitstream_restriction_flag', 'rbsp_stop_one_bit'))
        bits = ''.join(f'{b:08b}' for b in re.sub(b'\x00\x00\x03', b'\x00\x00', sps))
        # Only min_spatial_segmentation_idc limits anything.
        ue = [f"{'0' * ((v + 1).bit_length() - 1)}{v + 1:b}" for v in (min_spatial, 0, 0, 15, 15)]
        bits = bits[:flag] + '1010' + ''.join(ue) + bits[flag + 1:stop] + '1'
        bits += '0' * (-len(bits) % 8)
        new = re.sub(b'\x00\x00(?=[\x00-\x03])', b'\x00\x00\x03',
                     bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8)))
        at = data.find(len(sps).to_bytes(2, 'big') + sps)
        if at < 0 or data.find(b'moov') < data.find(b'mdat'):
            raise c.Failure('the encoded MP4 is not laid out as expected')
        data[at:at + 2 + len(sps)] = len(new).to_bytes(2, 'big') + new
        for box in (b'hvcC', b'hev1', b'stsd', b'stbl', b'minf', b'mdia', b'trak', b'moov'):
            start = data.rfind(box, 0, at) - 4
            size = int.from_bytes(data[start:start + 4], 'big') + len(new) - len(sps)
            data[start:start + 4] = size.to_bytes(4, 'big')
        with open(path, 'wb') as f:
            f.write(data)
    return edit


def check_record(restriction):
    def check(out, inp, case):
        sets = trace(inp)
        sps = functools.partial(get, sets, 'SPS')
        if restriction is not None and sps('min_spatial_segmentation_idc') != restriction:
            raise c.Failure('the edited input lacks its bitstream restriction')
        spatial = sps('min_spatial_segmentation_idc') if sps('vui_parameters_present_flag') and \
            sps('bitstream_restriction_flag') else 0
        tiles_wpp = (get(sets, 'PPS', 'tiles_enabled_flag'),
                     get(sets, 'PPS', 'entropy_coding_sync_enabled_flag'))
        want = {name: sps(name) for name in ('general_profile_space', 'general_tier_flag',
                                             'general_profile_idc', 'general_level_idc')}
        want.update({
            'configurationVersion': 1, 'reserved4': 15, 'reserved6': 63, 'reserved5': 31,
            'general_profile_compatibility_flags': sps('general_profile_compatibility_flag[0]', 32),
            'general_constraint_indicator_flags': sps('general_progressive_source_flag', 48),
            'min_spatial_segmentation_idc': spatial,
            'parallelismType': {(1, 1): 0, (0, 1): 3, (1, 0): 2, (0, 0): 1}[tiles_wpp]
            if spatial else 0,
            'chromaFormat': sps('chroma_format_idc'),
            'bitDepthLumaMinus8': sps('bit_depth_luma_minus8'),
            'bitDepthChromaMinus8': sps('bit_depth_chroma_minus8'),
            'avgFrameRate': 0, 'constantFrameRate': 0, 'lengthSizeMinusOne': 3, 'numOfArrays': 3,
            'numTemporalLayers': 1 + max(get(sets, 'VPS', 'vps_max_sub_layers_minus1'),
                                         sps('sps_max_sub_layers_minus1')),
            'temporalIdNested': sps('sps_temporal_id_nesting_flag')})
        private = next(bytes.fromhex(t['properties']['codec_private_data'])
                       for t in c.mkvmerge_report(out)['tracks'] if t['type'] == 'video')
        bits, wrong = ''.join(f'{b:08b}' for b in private[:23]).ljust(184, '0'), []
        for name, n in FIELDS:
            if int(bits[:n], 2) != want[name]:
                wrong.append(f'{name} {int(bits[:n], 2)} (stream: {want[name]})')
            bits = bits[n:]
        units, end = arrays(private) if len(private) >= 23 else ([], 0)
        if units != [u for u in arrays(c.extradata(inp, 'v:0'))[0] if u[0] in (32, 33, 34)]:
            wrong.append('the arrays do not hold exactly the stream\'s VPS, SPS and PPS')
        if len(private) != 1024 or any(private[end:]):
            wrong.append(f'{len(private)} bytes of CodecPrivate, not the record and zeros to 1024')
        if wrong:
            raise c.Failure('record: ' + '; '.join(wrong))
    return check


def stream(name, x265='', pix_fmt='yuv420p', vf=(), restriction=None):
    encode = c.av('25') + list(vf) + ['-pix_fmt', pix_fmt, '-c:v', 'libx265', '-preset',
                                       'ultrafast', '-x265-params', X265 + x265] + c.AAC.split()
    return c.MuxCase(name, name + '.mp4', ['--video-fourcc', 'HEVC'],
                     [c.video('V_MPEGH/ISO/HEVC', c.HEVC), c.audio('A_AAC')],
                     encode=encode, edit=restriction and add_restriction(restriction),
                     record=check_record(restriction))


STREAMS = [
    # x265's defaults: Main, 8-bit 4:2:0, WPP, B-frames, open GOP.
    stream('main8'),
    stream('main10_high_tier', ':level-idc=4:high-tier=1', 'yuv420p10le'),
    # Unreferenced B-frames in a second temporal sub-layer.
    stream('temporal_layers', TEMPORAL),
    # Every VUI part x265 writes, then with a bitstream restriction behind
    # the HRD parameters (WPP: parallelismType 3).
    stream('vui_hrd', VUI, vf=['-vf', 'setsar=5/7']),
    stream('vui_hrd_restriction', VUI, vf=['-vf', 'setsar=5/7'], restriction=7),
    # Neither WPP nor tiles (parallelismType 1), restriction after the
    # sub-layer loops.
    stream('no_wpp_temporal_restriction', ':wpp=0' + TEMPORAL, restriction=1),
    # Range extensions: 4:2:2 and 4:4:4.
    stream('rext422_10', pix_fmt='yuv422p10le'),
    stream('rext444_12', pix_fmt='yuv444p12le'),
]

if __name__ == '__main__':
    sys.exit(c.main(STREAMS))
