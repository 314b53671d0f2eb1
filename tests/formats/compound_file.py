"""Reads a compound file by its published layout: enough to read a .msg file without the system that wrote it."""
import struct

END = 0xFFFFFFFE


class Storage(dict):
    """Children by name: a Storage, or the bytes of a stream."""
    class_id = b""


class CompoundFile:
    def __init__(self, data):
        self.data = data
        if data[:8] != b"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1":
            raise ValueError("no compound file")
        sector_shift, mini_shift = struct.unpack_from("<HH", data, 30)
        self.sector, self.mini = 1 << sector_shift, 1 << mini_shift
        fat_count, directory = struct.unpack_from("<II", data, 44)
        self.cutoff, mini_fat, _, more = struct.unpack_from("<4I", data, 56)
        table = list(struct.unpack_from("<109I", data, 76))
        while more < END:
            entries = struct.unpack(f"<{self.sector // 4}I", self._sector(more))
            table += entries[:-1]
            more = entries[-1]
        self.fat = []
        for sector in table[:fat_count]:
            self.fat += struct.unpack(f"<{self.sector // 4}I", self._sector(sector))
        entries = self._chain(directory)
        self.entries = [entries[at:at + 128] for at in range(0, len(entries), 128)]
        mini_bytes = self._chain(mini_fat) if mini_fat < END else b""
        self.mini_fat = struct.unpack(f"<{len(mini_bytes) // 4}I", mini_bytes)
        start, size = struct.unpack_from("<IQ", self.entries[0], 116)
        self.mini_stream = self._chain(start)[:size] if start < END else b""
        self.root = self._storage(0)

    def _sector(self, number):
        begin = (number + 1) * self.sector
        return self.data[begin:begin + self.sector]

    def _chain(self, sector):
        parts = []
        while sector < END:
            parts.append(self._sector(sector))
            sector = self.fat[sector]
        return b"".join(parts)

    def _stream(self, entry):
        start, size = struct.unpack_from("<IQ", entry, 116)
        if self.sector == 512:
            size &= 0xFFFFFFFF
        if size >= self.cutoff:
            return self._chain(start)[:size]
        parts = []
        while start < END and len(parts) * self.mini < size:
            parts.append(self.mini_stream[start * self.mini:(start + 1) * self.mini])
            start = self.mini_fat[start]
        return b"".join(parts)[:size]

    def _storage(self, number):
        storage = Storage()
        storage.class_id = self.entries[number][80:96]
        waiting = [struct.unpack_from("<I", self.entries[number], 76)[0]]
        while waiting:
            index = waiting.pop()
            if index >= len(self.entries):
                continue
            entry = self.entries[index]
            length, kind = struct.unpack_from("<HB", entry, 64)
            name = entry[:length - 2].decode("utf-16-le")
            storage[name] = self._storage(index) if kind == 1 else self._stream(entry)
            waiting += struct.unpack_from("<II", entry, 68)
        return storage
