"""The sample host with one fault: FaultyHost.py HOST.PY FAULT DRIVER SERIAL-PORT. The fault is named after the rule
that it breaks, or after the rule and a further word."""
import importlib.util
import struct
import subprocess
import sys
import threading
import time

source = importlib.util.spec_from_file_location("host", sys.argv[1])
host = importlib.util.module_from_spec(source)
source.loader.exec_module(host)
right = {name: getattr(host, name) for name in ("handle", "packet", "send", "show", "unit_list")}
common = b"X\x10a\x40LX\x40\x300\x80\x80\0\0\0 \r"


def in_answer(change):
    """Changes the packet that answers getUnits."""
    host.send = lambda to, packets: right["send"](to, change(packets) if b"setUnits" in packets else packets)


def before_answer(bytes_):
    in_answer(lambda packets: bytes_ + packets)


def with_list(change):
    host.unit_list = lambda: change(right["unit_list"]())


def with_units(change):
    def unit_list():
        kept, host.units = host.units, change(host.units)
        try:
            return right["unit_list"]()
        finally:
            host.units = kept
    host.unit_list = unit_list


def send_in_pieces(to, packets):
    to.sendall(packets[:3])
    time.sleep(0.1)
    to.sendall(packets[3:])


def cut_lengths(**entries):  # as a host does that adds the names, and does not look at the length
    body = b"".join(key.encode() + struct.pack("<H", len(value) % 65536) + value for key, value in entries.items())
    return b"J" + struct.pack("<H", (len(body) + 4) % 65536) + b"\x80" + body


def long_list(document):
    host.packet = cut_lengths
    return document[:-1] + (b"V\x01\0\0\0N" + struct.pack("<I", 30000) + b"n" * 30000 if len(host.units) > 999 else b"") + b"E"


def lose_some():
    count = iter(range(1, 10**9))
    host.handle = lambda *words: None if len(host.units) > 100 and next(count) % 49 == 0 else right["handle"](*words)


def lose_last_values():
    host.handle = lambda link, word, entries: (
        None if word == b"SetValue" and len(host.units) > 100 and len(host.units) % 10 else right["handle"](link, word, entries))


def shown_as_number(word, *words):
    try:
        right["show"](word, *words[:-1], b"%g" % float(words[-1]))
    except (ValueError, IndexError):
        right["show"](word, *words)


def latest_link_wins():
    links = []

    def serve(connection):
        with connection, connection.makefile("rb") as stream:
            while stream.read(1) not in (b"\r", b""):
                pass
            links.append(connection)
            try:
                host.link = connection
                host.read_packets(connection, stream)
            except (OSError, struct.error, IndexError):
                pass
            links.remove(connection)
            if links:
                host.link = links[-1]
            else:
                host.ready.clear()
                host.answered.set()
    host.serve = serve
    host.handle = lambda _, *words: right["handle"](host.link, *words)


def start_once(*_):
    if host.starts > 2:
        threading.Event().wait()
    host.starts += 1
    return call(*_)


call, host.starts = subprocess.call, 0
faults = {
    "whole-packets": lambda: setattr(host, "send", send_in_pieces),
    "lengths": lambda: in_answer(lambda packets: packets[:1] + struct.pack("<H", len(packets) + 3) + packets[3:]),
    "lengths zero": lambda: before_answer(b"J\0\0\x80"),
    "lengths common": lambda: before_answer(b"X\x11" + common[2:]),
    "packet-types": lambda: before_answer(b"A" + common[1:]),
    "bit-64": lambda: before_answer(common[:6] + b"\x80" + common[7:]),
    "no-log-packets": lambda: before_answer(b"L\x05\x02hi"),
    "ready-first": lambda: host.ready.set() or setattr(host.ready, "clear", lambda: None),
    "command-order": lambda: setattr(host.answered, "wait", lambda: time.sleep(0.05)),
    "units-answer": lambda: setattr(host, "handle", lambda *words: None if words[1] == b"getUnits" else right["handle"](*words)),
    "units-document": lambda: with_list(lambda document: document[:-1]),
    "units-size": lambda: with_list(long_list),
    "units-complete": lambda: with_units(lambda units: list(units)[1:]),
    "units-addresses": lambda: with_units(lambda units: [address.lower() for address in units]),
    "values": lambda: setattr(host, "show", shown_as_number),
    "values sent": lambda: setattr(host, "packet", lambda **entries: right["packet"](
        **{key: value.replace(b"&", b"and") for key, value in entries.items()})),
    "no-loss": lose_some,
    "no-loss values": lose_last_values,
    "second-link": latest_link_wins,
    "restart": lambda: setattr(host.subprocess, "call", start_once),
    "restart-pause": lambda: setattr(host.time, "sleep", lambda _: threading.Event().wait(1)),
    "restart-pause none": lambda: setattr(host.time, "sleep", lambda _: None),
}
faults[sys.argv[2]]()
with host.socket.create_server(("127.0.0.1", 0)) as listener:
    for work in ([host.listen, listener], [host.send_commands], [host.read_commands]):
        threading.Thread(target=work[0], args=work[1:], daemon=True).start()
    host.run_drivers(sys.argv[3], sys.argv[4:], listener.getsockname()[1])
