#!/usr/bin/env python3
"""Keeps N clients long-polling GET /status over keep-alive connections for a
given number of seconds and prints how long each answer took, one line per
answer: "<status> <seconds>"."""
import asyncio
import sys
import time


async def poller(port, until, out):
    reader, writer = await asyncio.open_connection("127.0.0.1", port)
    request = f"GET /status HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\n\r\n".encode()
    while time.monotonic() < until:
        start = time.monotonic()
        writer.write(request)
        await writer.drain()
        status_line = await reader.readline()
        length = 0
        while True:
            line = await reader.readline()
            if line in (b"\r\n", b""):
                break
            name, _, value = line.decode().partition(":")
            if name.lower() == "content-length":
                length = int(value)
        if length:
            await reader.readexactly(length)
        out.append((int(status_line.split()[1]), time.monotonic() - start))
    writer.close()


async def main():
    port, clients, seconds = int(sys.argv[1]), int(sys.argv[2]), float(sys.argv[3])
    until = time.monotonic() + seconds
    out = []
    await asyncio.gather(*(poller(port, until, out) for _ in range(clients)))
    for status, took in out:
        print(status, f"{took:.4f}")


asyncio.run(main())
