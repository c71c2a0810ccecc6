#!/usr/bin/env python3
"""A small host for hearthix-mysensors: it starts the driver, keeps its units, prints values and sends commands.

usage: host.py DRIVER SERIAL-PORT, or host.py DRIVER IP GATEWAY-ADDRESS GATEWAY-PORT
Commands on standard input: on ADDRESS, off ADDRESS, set ADDRESS VALUE, query ADDRESS. Ctrl-C ends it.
"""
import queue
import socket
import struct
import subprocess
import sys
import threading
import time

ID = b"EXAMPLE"
WORDS = {b"on": b"ON", b"off": b"OFF", b"set": b"SetValue", b"query": b"Qery"}
units = {}  # address: value
commands = queue.Queue()
link = None  # the socket of the driver that is connected
pause = 1  # seconds before the next start
ready, answered, sending = threading.Event(), threading.Event(), threading.Lock()


def show(*words):
    sys.stdout.buffer.write(b" ".join(words) + b"\n")
    sys.stdout.buffer.flush()


def packet(**entries):
    body = b"".join(key.encode() + struct.pack("<H", len(value)) + value for key, value in entries.items())
    return b"J" + struct.pack("<H", len(body) + 4) + b"\x80" + body


def send(to, packets):  # in one piece, from any thread
    with sending:
        to.sendall(packets)


def unit_list():
    def text(value):
        return struct.pack("<I", len(value)) + value
    # A packet can contain about 1,400 of these units. The driver needs only one unit of each node.
    addresses = units if len(units) < 1400 else {address[:2]: address for address in units}.values()
    listed = (b"O" + text(b"unit") + b"KbdbAL  V" + text(b"Address") + text(address) + b"E" for address in addresses)
    return b"KbdbAL  " + b"".join(listed) + b"E"


def handle(connection, word, entries):
    address = entries.get(b"addr")
    if word == b"getUnits":
        send(connection, packet(mcmd=b"setUnits", DATA=unit_list()))
    elif word == b"PSrp":
        answered.set()
    elif word == b"NewU":
        units.setdefault(address, b"")
    elif word in (b"SetValue", b"SetDesc", b"ON", b"OFF"):
        units[address] = entries.get(b"Valu", entries.get(b"DATA", word))
        show(b"value", address, units[address])


def read_packets(connection, stream):
    global pause
    while kind := stream.read(1):
        if kind == b"J":
            length, _ = struct.unpack("<HB", stream.read(3))
            body, entries = stream.read(length - 4), {}
            while body:
                end = 6 + struct.unpack_from("<H", body, 4)[0]
                entries[body[:4]], body = body[6:end], body[end:]
            handle(connection, entries[b"mcmd"], entries)
        else:
            text = stream.read(stream.read(1)[0] - 2)[1:]
            show(b"log", text)
            if text.endswith(b" ready."):
                pause = 1
                ready.set()


def serve(connection):
    global link
    with connection, connection.makefile("rb") as stream:
        opening = b"MYSENSORS:" + ID + b"\r"
        if stream.read(len(opening)) != opening or link:
            return  # another program, or a second driver
        link = connection
        try:
            read_packets(connection, stream)
        except (OSError, struct.error, IndexError):
            pass  # the link has broken
        link = None
        ready.clear()
        answered.set()


def listen(server):
    while True:
        connection, _ = server.accept()
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        threading.Thread(target=serve, args=[connection], daemon=True).start()


def send_commands():
    while True:
        word, address, *value = commands.get()
        ready.wait()
        answered.clear()
        entries = dict(mcmd=WORDS[word], addr=address, **({"Valu": value[0]} if value else {}))
        try:  # the answer to the ping shows that the driver has passed the command on
            send(link, packet(**entries) + packet(mcmd=b"ping"))
            answered.wait()
        except (OSError, AttributeError):
            show(b"lost", word, address)


def read_commands():
    for line in sys.stdin.buffer:
        words = line.rstrip(b"\n").split(b" ", 2)
        if words[0] in WORDS and len(words) > 1:
            commands.put(words)


def run_drivers(driver, gateway, port):
    global pause
    while True:
        status = subprocess.call([driver, gateway[0], "127.0.0.1", str(port), ID.decode(), *gateway[1:]])
        show(b"driver ended with status %d, the next one starts in %d seconds" % (status, pause))
        time.sleep(pause)
        pause = min(2 * pause, 60)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 5):
        sys.exit(__doc__)
    with socket.create_server(("127.0.0.1", 0)) as listener:
        for work in ([listen, listener], [send_commands], [read_commands]):
            threading.Thread(target=work[0], args=work[1:], daemon=True).start()
        run_drivers(sys.argv[1], sys.argv[2:], listener.getsockname()[1])
