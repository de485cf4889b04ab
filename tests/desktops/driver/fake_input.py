"""A hand for KWin's Wayland sessions: its protocol of pretended input, version 4, spoken by ourselves."""

import socket
import struct

display, registry, synchronised, hand = 1, 2, 3, 4
interface = "org_kde_kwin_fake_input"
authenticate, pointer_button, pointer_to, keyboard_key = 0, 2, 9, 10
left_button = 0x110


class FakeInput:
    def __init__(self, path):
        self.socket_ = socket.socket(socket.AF_UNIX)
        self.socket_.connect(path)
        self.send(display, 1, struct.pack("<I", registry))
        self.send(display, 0, struct.pack("<I", synchronised))
        number = self.await_offer()
        self.send(registry, 0, struct.pack("<I", number) + self.text(interface) + struct.pack("<II", 4, hand))
        self.send(hand, authenticate, self.text("tests") + self.text("a hand"))

    def close(self):
        self.socket_.close()

    @staticmethod
    def text(words):
        octets = words.encode() + b"\0"
        return struct.pack("<I", len(octets)) + octets + b"\0" * (-len(octets) % 4)

    def send(self, whom, operation, payload=b""):
        self.socket_.sendall(struct.pack("<IHH", whom, operation, 8 + len(payload)) + payload)

    def await_offer(self):
        """The number under which the compositor offers the interface."""
        offered, waiting = None, b""
        while True:
            received = self.socket_.recv(65536)
            if not received:
                raise OSError("the compositor hung up")
            waiting += received
            while len(waiting) >= 8:
                sender, operation, size = struct.unpack("<IHH", waiting[:8])
                if len(waiting) < size:
                    break
                payload, waiting = waiting[8:size], waiting[size:]
                if sender == registry and operation == 0:
                    number, length = struct.unpack("<II", payload[:8])
                    if payload[8:8 + length - 1].decode() == interface:
                        offered = number
                elif sender == synchronised:
                    if offered is None:
                        raise OSError(f"the compositor offers no {interface}")
                    return offered

    def move_to(self, x, y):
        self.send(hand, pointer_to, struct.pack("<ii", x * 256, y * 256))

    def press_button(self, down):
        self.send(hand, pointer_button, struct.pack("<II", left_button, int(down)))

    def press_key(self, code, down):
        self.send(hand, keyboard_key, struct.pack("<II", code, int(down)))
