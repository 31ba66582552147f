"""The damaged files that the pages of docs/formats tell about, by page and by the words in the page's table."""
import dataclasses
import struct
import typing


@dataclasses.dataclass
class Fault:
    extension: str
    make: typing.Callable  # the bytes of the file, from the function that reads a sample by its name
    arguments: tuple = ("info", "{file}")
    environment: dict = dataclasses.field(default_factory=dict)


def patched(name, *patches):
    """A sample with other bytes at some offsets."""
    def make(sample):
        data = bytearray(sample(name))
        for offset, replacement in patches:
            data[offset:offset + len(replacement)] = replacement
        return bytes(data)
    return make


def cut(name, size):
    """The first bytes of a sample; of a negative size all but that many."""
    def make(sample):
        data = sample(name)
        assert len(data) > abs(size)
        return data[:size]
    return make


def after(make, change):
    return lambda sample: change(make(sample))


def written(*arguments):
    """A good picture that is converted."""
    return Fault("jpg", patched("hopper.jpg"), ("convert", "{file}", *arguments))


# --- PNG.

def png_with_wrong_sum(kind):
    """A wrong checksum of the first chunk of a kind."""
    def change(data):
        at = data.index(kind)
        end = at + 4 + struct.unpack(">I", data[at - 4:at])[0]
        return data[:end] + bytes([data[end] ^ 1]) + data[end + 1:]
    return after(patched("waves.png"), change)


# --- TGA without the footer of version 2.

TGA_BYTES = 18 + 128 * 128 * 4


def tga(*patches):
    return after(patched("hopper.tga", *patches), lambda data: data[:TGA_BYTES])


# --- ILBM.

def chunk(kind, data):
    return kind + struct.pack(">I", len(data)) + data


def ilbm(change=lambda chunks: None, *, form=b"FORM", kind=b"ILBM"):
    """A picture of 16 x 2 pixels and one plane, with its chunks changed."""
    header = struct.pack(">HHhhBBBBHBBhh", 16, 2, 0, 0, 1, 0, 0, 0, 0, 1, 1, 16, 2)
    chunks = {"BMHD": header, "CMAP": bytes(6), "BODY": bytes(4)}

    def make(_):
        parts = dict(chunks)
        change(parts)
        body = b"".join(chunk(name.encode(), data) for name, data in parts.items())
        return form + struct.pack(">I", 12 + len(body)) + kind + body
    return make


def in_header(offset, value):
    def change(chunks):
        header = bytearray(chunks["BMHD"])
        header[offset:offset + len(value)] = value
        chunks["BMHD"] = bytes(header)
    return change


def without_colours(chunks):
    del chunks["CMAP"]


def with_a_note(chunks):
    body = chunks.pop("BODY")
    chunks["ANNO"] = b"text"
    chunks["BODY"] = body


# --- SGI, PIC and DDS.

def sgi_header(width, height, channels=3):
    return struct.pack(">HBBHHHH", 474, 0, 1, 3, width, height, channels).ljust(512, b"\0")


def pic_header(width, height, version=2.0, packets=b"\x00\x08\x02\xe0"):
    return struct.pack(">If80s4sHHfHxx", 0x5380F634, version, b"", b"PICT", width, height, 1.0, 3) + packets


def dds_header(width, height):
    return (b"DDS " + struct.pack("<7I44x", 124, 0x1007, height, width, 0, 0, 1)
            + struct.pack("<8I", 32, 4, int.from_bytes(b"DXT1", "little"), 0, 0, 0, 0, 0) + struct.pack("<2I12x", 0x1000, 0))


def bytes_of(data):
    return lambda sample: data


def repeated(values):
    """Faults of one extension."""
    extension, rows = values
    return {name: make if isinstance(make, Fault) else Fault(extension, make) for name, make in rows.items()}


FAULTS = {page: repeated(values) for page, values in {
    "png": ("png", {
        "another signature": patched("waves.png", (0, b"\x88")),
        "a wrong checksum of the header": png_with_wrong_sum(b"IHDR"),
        "a wrong checksum of the pixels": png_with_wrong_sum(b"IDAT"),
        "ends within the pixels": cut("waves.png", 900),
        "without the end mark": cut("waves.png", -12),
    }),
    "jpeg": ("jpg", {
        "another start": patched("hopper.jpg", (0, b"\0\0")),
        "ends within the header": cut("hopper.jpg", 100),
        "ends within the pixels": cut("hopper.jpg", 3000),
        "written with a side of 65501 pixels": written("--resize", "65501x1", "out.jpg"),
    }),
    "tiff": ("tif", {
        "another start": patched("fractal.tif", (0, b"XX")),
        "ends before the directory": cut("fractal.tif", 100),
        "ends within the pixels": cut("fractal.tif", 900),
    }),
    "bmp": ("bmp", {
        "another start": patched("hopper.bmp", (0, b"XX")),
        "ends within the header": cut("hopper.bmp", 40),
        "ends within the pixels": cut("hopper.bmp", 4000),
        "a byte less": cut("hopper.bmp", -1),
    }),
    "svg": ("svg", {
        "no XML": bytes_of(b"a lighthouse"),
        "ends within an element": cut("lighthouse.svg", 900),
        "a side of 100000 pixels": bytes_of(b'<svg xmlns="http://www.w3.org/2000/svg" width="100000" height="100000"/>'),
    }),
    "tga": ("tga", {
        "run lengths": tga((2, b"\x0a")),
        "run lengths, with the footer": patched("hopper.tga", (2, b"\x0a")),
        "a colour map": tga((1, b"\x01\x01")),
        "8 bits a pixel": tga((16, b"\x08")),
        "ends within the header": cut("hopper.tga", 17),
        "a byte of pixels less": after(tga(), lambda data: data[:-1]),
        "a side of 0": tga((12, b"\0\0")),
        "a byte of identification text": after(tga((0, b"\x01")), lambda data: data[:18] + b"!" + data[18:]),
        "more bytes behind the pixels": after(tga(), lambda data: data + b"more"),
        "written with a side of 65536 pixels": written("--resize", "65536x1", "out.tga"),
    }),
    "sgi": ("sgi", {
        "another magic number": patched("hopper.sgi", (0, b"\x01\xdb")),
        "2 channels": patched("hopper.sgi", (10, b"\0\x02")),
        "5 channels": patched("hopper.sgi", (10, b"\0\x05")),
        "ends within the header (512 bytes)": cut("hopper.sgi", 511),
        "a header of 3000 x 3000 pixels and nothing else": bytes_of(sgi_header(3000, 3000)),
        "no rows": bytes_of(sgi_header(3000, 0)),
        "ends within the table of rows": cut("hopper.sgi", 600),
        "ends within the pixels": cut("hopper.sgi", 30000),
        "a row that begins outside the file": patched("hopper.sgi", (512, b"\x7f\xff\xff\xff")),
        "another storage than 0 and 1": patched("hopper.sgi", (2, b"\x02")),
    }),
    "pic": ("pic", {
        "another magic number": patched("waves.pic", (0, b"\x54")),
        "another id": patched("waves.pic", (88, b"PICS")),
        "ends within the header (88 bytes)": cut("waves.pic", 87),
        "a header of 3000 x 3000 pixels and nothing else": bytes_of(pic_header(3000, 3000)),
        "no scanlines": bytes_of(pic_header(3000, 0)),
        "version 3": patched("waves.pic", (4, struct.pack(">f", 3))),
        "ends within the packets": cut("waves.pic", 106),
        "an unknown code of a packet": bytes_of(pic_header(4, 4, packets=b"\x00\x08\x09\xe0") + bytes(48)),
        "ends within the scanlines": cut("waves.pic", 900),
    }),
    "ilbm": ("iff", {
        "another chunk than FORM": ilbm(form=b"LIST"),
        "another type than ILBM": ilbm(kind=b"PBM "),
        "no colour map": ilbm(without_colours),
        "another compression than 0 and 1": ilbm(in_header(10, b"\x02")),
        "9 planes": ilbm(in_header(8, b"\x09")),
        "1025 rows": ilbm(in_header(2, b"\x04\x01")),
        "a chunk that leads out of the file": after(ilbm(with_a_note), lambda data: data.replace(
            b"ANNO\0\0\0\x04", b"ANNO\0\0\x40\0")),
        "a pad byte before BODY": after(ilbm(with_a_note), lambda data: data.replace(
            b"ANNO\0\0\0\x04text", b"ANNO\0\0\0\x03tex\0")),
        "ends within the rows": after(ilbm(), lambda data: data[:-1]),
        "no rows": ilbm(in_header(2, b"\0\0")),
        "a chunk of another kind": ilbm(with_a_note),
    }),
    "yuv": ("yuv", {
        "a byte more": after(patched("bars.yuv"), lambda data: data + b"\0"),
        "two bytes less": cut("bars.yuv", -2),
        "a byte less": cut("bars.yuv", -1),
    }),
    "dds": ("dds", {
        "ends within the first 84 bytes": cut("testcard.dds", 83),
        "another start": patched("testcard.dds", (0, b"DDX ")),
        "a side of 0": patched("testcard.dds", (12, bytes(4))),
        "33 levels": patched("testcard.dds", (28, struct.pack("<I", 33))),
        "a header of 16384 x 16384 pixels and nothing else": bytes_of(dds_header(16384, 16384)),
        "an unknown code": patched("testcard.dds", (84, b"NONE")),
        "a level that is not there": Fault("dds", patched("cat.dds"), ("convert", "{file}", "out.png", "--level", "9")),
        "ends within the pixels of DXT": cut("testcard.dds", 900),
        "ends within the pixels of BC7": cut("oiio_dds_bc7.dds", 200),
        "a level of BC7 behind the end": Fault("dds", patched("oiio_dds_bc7.dds", (28, struct.pack("<I", 2))),
                                               ("convert", "{file}", "out.png", "--level", "1")),
        "through a driver that is not there": Fault("dds", patched("cat.dds"), ("info", "{file}", "--gpu=require"),
                                                    {"PATH": "/none-such", "DISPLAY": "", "QT_QPA_PLATFORM": ""}),
    }),
}.items()}
