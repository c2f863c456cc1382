#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into DIR/<target>/: small REK files of each voxel
type and extent rule, broken ones, file names of each kind, and raw input parameters. The seeds
are made here rather than kept as binary files in the repository."""
import os
import struct
import sys


def header(code, image=(0, 0, 0), reko=(0, 0, 0), slice_=(0, 0), voxel_size=(0.0, 0.0)):
    """A REK header of 2048 bytes with the fields the readers look at."""
    block = bytearray(2048)
    struct.pack_into('<hhhh', block, 0, image[0], image[1], code, image[2])
    struct.pack_into('<HHHH', block, 8, 2048, 2, 6, 0)
    struct.pack_into('<ii', block, 40, slice_[0], slice_[1])
    struct.pack_into('<iii', block, 568, *reko)
    struct.pack_into('<ff', block, 584, *voxel_size)
    struct.pack_into('<I', block, 1008, 0x01020304)
    struct.pack_into('<Q', block, 1016, 0x0102030405060708)
    return bytes(block)


SIZES = {7: 1, 8: 1, 15: 2, 16: 2, 31: 4, 32: 4, 63: 8, 64: 8, 24: 4, 53: 8}


def rek_files():
    files = {}
    for code, size in SIZES.items():
        files['image-%d' % code] = header(code, image=(4, 3, 2)) + bytes(24 * size)
        files['reko-%d' % code] = header(code, reko=(4, 3, 2)) + bytes(range(24 * size % 256)) + bytes(24 * size - 24 * size % 256)
    files['both'] = header(16, image=(5, 4, 3), reko=(5, 4, 3)) + bytes(120)
    files['slice'] = header(8, slice_=(6, 5)) + bytes(30)
    files['truncated'] = header(8, image=(-25536, 1, 1), reko=(40000, 1, 1)) + bytes(40000)
    files['ambiguous'] = header(8, image=(4, 3, 2), reko=(2, 3, 4)) + bytes(24)
    files['odd-byte'] = header(16, image=(2, 2, 2)) + bytes(17)
    files['header-only'] = header(16, image=(2, 2, 2))
    files['short'] = header(16, image=(2, 2, 2))[:100]
    files['unknown-code'] = header(0, image=(2, 2, 2)) + bytes(8)
    files['negative'] = header(16, image=(-1, -1, -1)) + bytes(16)
    files['huge-reko'] = header(16, reko=(1 << 30, 1 << 30, 1 << 30)) + bytes(64)
    return files


def file_names():
    return {
        'relative': b'volume.rek', 'absolute': b'/tmp/x/volume.rek', 'drive': b'C:\\data\\v.rek',
        'drive-only': b'D:', 'network': b'\\\\server\\share\\v.rek', 'network-slash': b'//server/share',
        'latin': b'\xb5\xc4\xd6.rek', 'bad-star': b'a*b', 'bad-colon': b'ab:c', 'doubled': b'a//b',
        'server-only': b'\\\\server', 'empty': b'',
    }


def raw_parameters():
    """Each seed is a row of little-endian numbers as RawInputFuzz reads them: the choice of type,
    the skip, start and end code per axis, the given volume's code."""
    rows = {
        'uint16-2x2x2': [3, 16, 0, 1, 0, 1, 0, 1, 0],
        'uint8-skip': [1, 100, 10, 9, 5, 0, 7, 0, 0],
        'float32-given': [4, 0, 0, 3, 0, 2, 0, 1, 0x100 + 5],
        'unknown-type': [9, 0, 0, 0, 0, 0, 0, 0, 0],
        'wrapping-end': [3, 0, 5, 0x8000 | 3, 0, 1, 0, 1, 0],
        'beyond-file': [7, 4000, 0, 63, 0, 63, 0, 3, 0x200 + 1],
    }
    return {name: b''.join(struct.pack('<Q', v) for v in row) for name, row in rows.items()}


def parameter_scripts():
    """Scripts for ParameterFuzz: a first byte choosing a parameter class or container, then calls.
    A call is a byte (0, 1 setValue; 2 getValue; 3 getKey; 4 getType; 5 apply; 6 go down into the
    value read last; 7 a new object), a key (a byte 1 to 3 and an index among the object's keys, or
    0 and a text of a length byte) and for setValue a value (a kind byte: 12 to 21 small volumes of
    the ten voxel types, with three extents below 7 and their voxels; 1 to 11 data; 0 NULL)."""
    def volume(kind, extent, size):
        count = extent[0] * extent[1] * extent[2]
        return bytes([kind, *extent]) + bytes((7 * i + 3) % 256 for i in range(count * size))

    sizes = {12: 1, 13: 1, 14: 2, 15: 2, 16: 4, 17: 4, 18: 8, 19: 8, 20: 4, 21: 8}
    scripts = {}
    for target in range(0, 120, 20):
        for kind, size in sizes.items():
            body = bytes([0, 1, 0]) + volume(kind, (3, 2, 4), size)       # first key: a volume
            body += bytes([1, 1, 1, 4, 3, 1, 1, 2, 3, 9])                 # second key: a uint16 3, then a float
            body += bytes([0, 1, 2, 8, 1, 2])                             # third key: a uint64 2
            body += bytes([0, 1, 3, 3, 3, 5])                             # fourth key: an int16 5
            for facade in range(17):
                scripts['t%d-v%d-f%d' % (target, kind, facade)] = bytes([target]) + body + bytes([5, facade])
    scripts['keys'] = bytes([3, 2, 0, 5, 65, 66, 67, 68, 69, 3, 255, 3, 0, 4, 6, 7, 9])
    return scripts


def main():
    if len(sys.argv) != 2:
        sys.exit('usage: make_fuzz_seeds.py DIR')
    out = sys.argv[1]
    rek = rek_files()
    corpora = {
        'RekTypeReaderFuzz': rek,
        # The loader's fuzzer takes a first byte: 0 in its low two bits for ".raw", else ".rek"; bit 2
        # for a destination region, bit 3 for a turned destination.
        'RecHeaderLoaderFuzz': dict([(k + suffix, bytes([first]) + v) for k, v in rek.items()
                                     for suffix, first in (('', 1), ('-raw', 0), ('-region', 5), ('-turned', 13))]),
        'FileNameFuzz': file_names(),
        'RawInputFuzz': raw_parameters(),
        'ParameterFuzz': parameter_scripts(),
    }
    for target, seeds in corpora.items():
        directory = os.path.join(out, target)
        os.makedirs(directory, exist_ok=True)
        for name, data in seeds.items():
            with open(os.path.join(directory, name), 'wb') as f:
                f.write(data)


if __name__ == '__main__':
    main()
