"""Reads archive files, written from docs/archive-format.md and from nothing else: what that page does
not tell, this file does not know. A client of the library is not needed."""
import struct

import xxhash
import zstandard

HEADER = bytes.fromhex("8942544B460D0A1A")
PROOF_END = 10  # "@" and the trailer.
Z_TO_END = 77
PARTS = 1024
SECTOR = 512
SEARCHED = 65536
LONGEST_CHAIN = 256


class Damaged(Exception):
    pass


def need(condition, why):
    if not condition:
        raise Damaged(why)


def checksum(data):
    return xxhash.xxh64_intdigest(data, seed=0)


def unpack(frame, size, prefix):
    """One zstd frame that says its size, packed against `prefix`."""
    try:
        parameters = zstandard.get_frame_parameters(frame)
        need(parameters.content_size == size, "a frame of another length")
        kind = zstandard.DICT_TYPE_RAWCONTENT
        dictionary = zstandard.ZstdCompressionDict(prefix, dict_type=kind) if prefix else None
        unpacker = zstandard.ZstdDecompressor(dict_data=dictionary, max_window_size=2**31)
        return unpacker.decompress(frame, max_output_size=max(size, 1))
    except zstandard.ZstdError as error:
        raise Damaged(str(error)) from None


class Values:
    """The values of an unpacked index, one after the other."""

    def __init__(self, data, most):
        self.data, self.at, self.counted, self.most = data, 0, 0, most

    def take(self, size):
        need(size <= len(self.data) - self.at, "an index that is too short")
        self.at += size
        return self.data[self.at - size:self.at]

    def fixed(self, size):
        return int.from_bytes(self.take(size), "big")

    def number(self):
        result = shift = 0
        while True:
            byte = self.take(1)[0]
            result |= (byte & 127) << shift
            shift += 7
            if byte < 128:
                return result

    def text(self):
        size = self.number()
        need(size <= 16777216, "a long text")
        result = self.take(size)
        need(0 not in result, "a NUL in a text")
        return result

    def name(self):
        result = self.text()
        need(all(byte >= 32 and byte != 127 for byte in result), "a control character in a name")
        return result

    def many(self, one):
        count = self.number()
        self.counted += count
        need(self.counted <= self.most, "too much in an index")
        return [one() for _ in range(count)]

    def revision_number(self):
        result = tuple(self.many(self.number))
        need(len(result) <= 64 and all(n <= 999999999 for n in result), "a bad revision number")
        return result


class Part:
    """A whole part: where it is, and where its pieces are."""

    def __init__(self, data, end, proven=True):
        need(end >= len(HEADER) + 12 + Z_TO_END, "too short for a part")
        last = data[end - Z_TO_END:end]
        mark, below, size = struct.unpack(">Bii", last[-9:])
        need(last[:3] == b"Z\0\x40" and last[-10:-9] == b"@" and mark == 4, "no end of a part")
        (length, self.before, self.index_size, self.unpacked, self.index_sum, self.full,
         self.full_size, self.full_unpacked, self.full_sum, covered, proof) = struct.unpack(
             ">QIIIQQIIQIQ", last[3:67])
        self.block_size, self.end, self.begin = -size, end, end - length
        self.block_begin = end - 9 - self.block_size
        self.index_begin = self.block_begin - self.index_size
        need(below == size - 9 and self.block_size >= Z_TO_END - 9, "a bad trailer")
        need(self.begin >= len(HEADER) and self.index_begin >= self.begin + 12 and self.before < PARTS,
             "pieces that don't lie in the part")
        field = end - PROOF_END - 8
        begin = field - covered
        need(len(HEADER) <= begin <= self.block_begin, "a proof of something else")
        need(begin == self.block_begin or end - begin <= 4096, "a proof of too much")
        if not proven:
            return
        need(checksum(data[begin:field] + data[end - PROOF_END:end]) == proof, "no proof")
        need(self.begin == len(HEADER) or part_length(data, self.begin) == length, "no part header")


def part_length(data, begin):
    """What the part header there tells, or None."""
    header = data[begin:begin + 12]
    if len(header) < 12:
        return None
    length, proof = struct.unpack(">QI", header)
    told = checksum(struct.pack(">Q", begin) + header[:8]) & 0xFFFFFFFF
    return length if told == proof else None


def last_whole_part(data):
    need(data[:len(HEADER)] == HEADER, "no archive")
    try:
        return Part(data, len(data))
    except Damaged:
        pass
    at, last, after = len(HEADER), None, []
    for _ in range(PARTS):
        length = part_length(data, at)
        if not length or length > len(data) - at:
            break
        at += length
        try:
            last, after = Part(data, at), []
        except Damaged:
            after.append((at - length, at))
    need(last, "no whole part")
    need_torn(data, last.end, after)
    return last


def lost_sector(data, begin, stop, end):
    """Whether all that is between the two in some sector is zeros, but for those from `stop` on."""
    cuts = [*range(begin // SECTOR * SECTOR + SECTOR, end, SECTOR), end]
    return any(not any(data[a:b]) for a, b in zip([begin, *cuts], cuts) if a < stop)


def has_trailer(last):
    mark, below, size = struct.unpack(">Bii", last)
    return mark == 4 and size - below == 9 and below < 0 >= size


def may_be_torn(data, unproven, begin, end):
    """Of a part without a proof: whether the power may have been cut when it was written."""
    trailer = has_trailer(data[end - 9:end])
    if end - begin > 4096:
        if part_length(data, begin) != end - begin:
            return False
        covered, = struct.unpack(">I", data[end - 22:end - 18])
        start = end + struct.unpack(">i", data[end - 8:end - 4])[0] if trailer else end - 18 - covered
        if not begin + 12 <= start <= end - Z_TO_END:
            start = begin + 12
    else:
        first = end - begin if begin == unproven else part_length(data, unproven)
        start = unproven + (8 - (first.bit_length() + 7) // 8 if first else 6)
    return lost_sector(data, start, end - 9 if trailer else end, end)


def ends_in(data, begin, stop):
    """What has the form of an end there, whether it is proven or not."""
    at = begin
    while (at := data.find(b"Z\0\x40", at, stop)) >= 0:
        if at + Z_TO_END <= stop:
            try:
                yield Part(data, at + Z_TO_END, proven=False)
            except Damaged:
                pass
        at += 1


def is_whole(data, part):
    try:
        return bool(Part(data, part.end))
    except Damaged:
        return False


def need_torn(data, begin, parts):
    """What is after the last whole part was never whole, or may never have been written."""
    for a, b in parts:
        need(may_be_torn(data, begin, a, b), "a damaged part")
    for part in ends_in(data, len(data) - Z_TO_END, len(data)):
        need(part.begin < begin or may_be_torn(data, begin, part.begin, part.end), "a damaged part")
    at = parts[-1][1] if parts else begin
    if len(data) - at < 12 or part_length(data, at):
        return
    need(lost_sector(data, at, at + 12, at + 12), "a damaged part header")
    for part in (*ends_in(data, at, at + SEARCHED), *ends_in(data, max(at, len(data) - SEARCHED), len(data))):
        need(part.begin < at or not is_whole(data, part), "a whole part after a damaged one")
        need(part.begin != at or may_be_torn(data, begin, part.begin, part.end), "a damaged part")


class Archive:
    def __init__(self, data):
        self.data = data
        part = self.part = last_whole_part(data)
        index = self.read_index(part)
        most = 65536 + 32 * (part.index_size + part.full_size)
        v = Values(index, most)
        need(v.number() == 2, "an index of another version")
        self.workfile, self.owner, self.description = v.name(), v.name(), v.text()
        self.created, self.attributes = v.fixed(4), v.number()
        need(self.attributes < 2**32, "attributes")
        self.access = v.many(v.name)
        need(b"" not in self.access, "an empty name")
        self.revisions = {}  # In the order of the index: by branches.
        branches = [number for number, _ in v.many(lambda: self.branch(v))]
        need(branches == sorted(set(branches)), "branches out of order")
        need(all(b == (1,) or b[:-1] in self.revisions for b in branches), "a branch of nothing")
        self.labels = dict(v.many(lambda: (v.name(), v.revision_number())))
        need(b"" not in self.labels, "an empty label")
        need(all(at in self.revisions or at in branches for at in self.labels.values()),
             "a label of nothing")
        highest = v.number()
        self.frames, self.at = {}, 0
        v.many(lambda: self.frame(v))
        need(v.at == len(index), "something after the index")
        ids = sorted(r["content"] for r in self.revisions.values())
        need(ids == sorted(self.frames) and (not ids or 1 <= ids[0] and ids[-1] <= highest),
             "a content without a frame, or a frame without a content")
        self.check_block(part)

    def read_index(self, part):
        """The unpacked index, rebuilt from the full one that it is packed against."""
        prefix = b""
        if part.full:
            prefix = self.index(part.full, part.full_size, part.full_unpacked, part.full_sum, b"")
        return self.index(part.index_begin, part.index_size, part.unpacked, part.index_sum, prefix,
                          part.full_size)

    def index(self, begin, size, unpacked, wanted, prefix, also=0):
        need(unpacked <= min(67108864, 1048576 + 4096 * (size + also)), "an index that is too large")
        need(len(HEADER) <= begin and begin + size <= self.part.block_begin, "an index elsewhere")
        packed = self.data[begin:begin + size]
        need(checksum(packed) == wanted, "a damaged index")
        return unpack(packed, unpacked, prefix)

    def branch(self, v):
        number = v.revision_number()
        need(len(number) % 2 == 1, "a branch with the number of a revision")
        revisions = v.many(lambda: self.revision(v))
        on = (1,) if number == (1,) else number
        for revision in revisions:
            need(len(revision) == 2 if on == (1,) else revision[:-1] == on, "not of the branch")
        need(revisions == sorted(set(revisions)), "revisions out of order")
        return number, revisions

    def revision(self, v):
        number = v.revision_number()
        need(len(number) and len(number) % 2 == 0, "a revision with the number of a branch")
        r = {"time": v.fixed(4), "workfile_time": v.fixed(4), "author": v.name(), "change": v.text()}
        r["locks"] = v.many(lambda: (v.name(), v.fixed(4), v.name()))
        users = {user for user, _, _ in r["locks"]}
        need(len(users) == len(r["locks"]) and b"" not in users, "a lock twice, or of nobody")
        r["groups"] = v.many(v.name)
        r["content"], r["length"], r["checksum"] = v.number(), v.number(), v.fixed(8)
        self.revisions[number] = r
        return number

    def frame(self, v):
        content, _, older, newer, gap, size, proof = (
            v.number(), v.number(), v.number(), v.number(), v.number(), v.number(), v.fixed(4))
        begin = self.at + gap
        self.at = begin + size
        need(self.at <= self.part.end and content not in self.frames, "a frame elsewhere, or twice")
        self.frames[content] = (older, newer, begin, size, proof)

    def check_block(self, part):
        def record(tag, payload):
            size = struct.pack(">H", len(payload)) if len(payload) < 0x8000 else struct.pack(
                ">I", 0x80000000 | len(payload))
            return tag + size + payload

        def name(text):
            return b"\0" + text + b"\0"

        locks = [user for r in self.revisions.values() for user, _, _ in r["locks"]]
        block = (record(b"H", name(self.workfile)) + record(b"X", struct.pack(">I", self.created)) +
                 record(b"P", struct.pack(">H", self.attributes & 0xFFFF)) +
                 record(b"J", struct.pack(">H", min(len(self.revisions), 65535))) +
                 b"".join(record(b"R", name(user)) for user in locks) +
                 (record(b"V", name(b",".join(self.access))) if self.access else b"") +
                 record(b"I", self.description))
        need(self.data[part.block_begin:part.end - Z_TO_END] == block, "a block that is not the index's")

    def contents(self):
        """All contents, by revision number."""
        built = {}
        sizes = {r["content"]: (r["length"], r["checksum"]) for r in self.revisions.values()}

        def build(content, above=()):
            if content == 0:
                return b""
            if content not in built:
                need(content in self.frames and content not in above, "a bad parent")
                need(len(above) < LONGEST_CHAIN, "too many frames")
                older, newer, begin, size, proof = self.frames[content]
                frame = self.data[begin:begin + size]
                need(checksum(frame) & 0xFFFFFFFF == proof, "a damaged frame")
                prefix = build(older, above + (content,)) + build(newer, above + (content,))
                length, whole = sizes[content]
                need(length <= size * 32768, "a content that is too long")
                built[content] = unpack(frame, length, prefix) if size or length else b""
                need(checksum(built[content]) == whole, "a damaged content")
            return built[content]

        return {number: build(r["content"]) for number, r in self.revisions.items()}
