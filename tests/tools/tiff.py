"""A small TIFF writer and reader of the tests' own, uncompressed only: what the tool makes is held against this."""
import array
import struct
from dataclasses import dataclass, field

STRINGS = {270: "description", 305: "software", 306: "datetime", 33432: "copyright"}
CODES = {(8, False): "B", (16, False): "H", (32, False): "I", (32, True): "f", (64, True): "d"}
TYPES = {1: "B", 2: "s", 3: "H", 4: "I", 5: "II", 16: "Q"}


@dataclass
class Page:
    width: int
    height: int
    pixels: list  # row by row, samples side by side
    samples: int = 1
    bits: int = 8
    real: bool = False
    photometric: int = 1
    palette: list = None  # 3 * 2**bits numbers: all reds, all greens, all blues
    resolution: tuple = None  # (x numerator, denominator), (y ...), unit
    strings: dict = field(default_factory=dict)  # name: bytes
    rows_per_strip: int = 0  # 0: one strip
    compression: int = 1
    version: int = 42
    more: dict = field(default_factory=dict)  # further tags: a 16-bit number each

    def shape(self):
        return self.width, self.height, self.samples, self.bits, self.real, self.photometric, self.palette


def _row_bytes(page):
    return (page.width * page.samples * page.bits + 7) // 8


def _packed(page, order):
    """Whole bytes in the file's order, other depths as a stream of bits, rows filled up to whole bytes."""
    row = page.width * page.samples
    if (page.bits, page.real) in CODES:
        data = array.array(CODES[page.bits, page.real], page.pixels)
        if order == ">":
            data.byteswap()
        return data.tobytes()
    data = b""
    for i in range(0, len(page.pixels), row):
        bits = "".join(f"{value:0{page.bits}b}" for value in page.pixels[i : i + row])
        data += int(bits.ljust(8 * _row_bytes(page), "0"), 2).to_bytes(_row_bytes(page), "big")
    return data


def _unpacked(page, data, order):
    if (page.bits, page.real) in CODES:
        pixels = array.array(CODES[page.bits, page.real], data)
        if order == ">":
            pixels.byteswap()
        return pixels.tolist()
    pixels, bytes_ = [], _row_bytes(page)
    for i in range(0, len(data), bytes_):
        bits = f"{int.from_bytes(data[i : i + bytes_], 'big'):0{8 * bytes_}b}"
        pixels += [int(bits[k * page.bits : (k + 1) * page.bits], 2) for k in range(page.width * page.samples)]
    return pixels


def _strips(page, data):
    size = (page.rows_per_strip or page.height) * _row_bytes(page)
    return [data[i : i + size] for i in range(0, len(data), size)]


def _entries(page, offsets, counts):
    """(tag, type, values) of a page."""
    entries = [
        (256, 4, [page.width]), (257, 4, [page.height]), (258, 3, [page.bits] * page.samples),
        (259, 3, [page.compression]), (262, 3, [page.photometric]), (273, 4, offsets), (277, 3, [page.samples]),
        (278, 4, [page.rows_per_strip or page.height]), (279, 4, counts), (284, 3, [1]),
    ]
    if page.resolution:
        x, y, unit = page.resolution
        entries += [(282, 5, list(x)), (283, 5, list(y)), (296, 3, [unit])]
    if page.palette:
        entries.append((320, 3, page.palette))
    if page.real:
        entries.append((339, 3, [3] * page.samples))
    for tag, name in STRINGS.items():
        if name in page.strings:
            entries.append((tag, 2, page.strings[name] + b"\0"))
    entries = [entry for entry in entries if entry[0] not in page.more]
    entries += [(tag, 3, [value]) for tag, value in page.more.items()]
    return sorted(entries, key=lambda entry: entry[0])


def write(path, pages, order="<"):
    big = pages[0].version == 43
    offset, count, inline = ("Q", "Q", 8) if big else ("I", "H", 4)
    with open(path, "wb") as file:
        file.write({"<": b"II", ">": b"MM"}[order])
        file.write(struct.pack(order + ("HHHQ" if big else "HI"), *((43, 8, 0, 0) if big else (42, 0))))
        link = 8 if big else 4
        for page in pages:
            offsets, counts = [], []
            for strip in _strips(page, _packed(page, order)):
                offsets.append(file.tell())
                counts.append(len(strip))
                file.write(strip)
            directory = b""
            entries = _entries(page, offsets, counts)
            for tag, kind, values in entries:
                raw = values if kind == 2 else struct.pack(f"{order}{len(values)}{TYPES[kind][0]}", *values)
                number = len(values) // 2 if kind == 5 else len(values)
                if len(raw) > inline:
                    place, raw = file.tell(), raw + b"\0" * (len(raw) % 2)
                    file.write(raw)
                    raw = struct.pack(order + offset, place)
                directory += struct.pack(order + "HH" + offset, tag, kind, number) + raw.ljust(inline, b"\0")
            file.write(b"\0" * (file.tell() % 2))
            start = file.tell()
            file.write(struct.pack(order + count, len(entries)) + directory)
            next_link = file.tell()
            file.write(struct.pack(order + offset, 0))
            file.seek(link)
            file.write(struct.pack(order + offset, start))
            file.seek(0, 2)
            link = next_link


def read(path):
    """The pages of an uncompressed file."""
    with open(path, "rb") as file:
        data = file.read()
    order = {b"II": "<", b"MM": ">"}[data[:2]]
    version = struct.unpack_from(order + "H", data, 2)[0]
    offset, count, inline = ("Q", "Q", 8) if version == 43 else ("I", "H", 4)
    sizes = struct.calcsize(count), struct.calcsize("=HH" + offset) + inline

    def number(form, at):
        return struct.unpack_from(order + form, data, at)[0]

    def values(at):
        kind, length = number("H", at + 2), number(offset, at + 4)
        form = f"{length * len(TYPES[kind])}{TYPES[kind][0]}"
        place = at + 4 + inline
        if struct.calcsize("=" + form) > inline:
            place = number(offset, place)
        found = struct.unpack_from(order + form, data, place)
        return found[0] if kind == 2 else list(found)

    pages, at = [], number(offset, 8 if version == 43 else 4)
    while at:
        entries = number(count, at)
        first = at + sizes[0]
        tags = {number("H", first + i * sizes[1]): values(first + i * sizes[1]) for i in range(entries)}
        at = number(offset, first + entries * sizes[1])
        pages.append(_page(tags, data, order, version))
    return pages


def _page(tags, data, order, version):
    bits, real = tags[258][0], tags.get(339, [1])[0] == 3
    page = Page(tags[256][0], tags[257][0], None, tags[277][0], bits, real, tags[262][0], tags.get(320),
                compression=tags[259][0], version=version, rows_per_strip=tags[278][0])
    if page.compression == 1:
        raw = b"".join(data[o : o + n] for o, n in zip(tags[273], tags[279]))
        page.pixels = _unpacked(page, raw, order)
    if 282 in tags:
        page.resolution = tuple(tags[282]), tuple(tags[283]), tags[296][0]
    page.strings = {name: tags[tag].rstrip(b"\0") for tag, name in STRINGS.items() if tag in tags}
    return page
