#!/usr/bin/env python3
"""Reads the ring-tone information and one image from a phone with
velkport.aio, the library's window watched by the asyncio event loop.

    python3 python_asyncio.py DEVICE [IMAGE]

DEVICE is the phone's serial device (or velkport-phone's pseudo-terminal),
IMAGE the image's number, 1 by default."""

import asyncio
import sys

import velkport
import velkport.aio


async def main(device: str, image: int) -> int:
    async with velkport.aio.Phone(device) as phone:
        tones = await phone.tone_info()
        print(f'Ring tones "{tones.name}": values {list(tones.values)}')
        frames = await phone.read_image(image)
        print(f"Image {image}: {len(frames)} frames of {len(frames[0])} characters")
    return 0


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    try:
        sys.exit(asyncio.run(main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) == 3 else 1)))
    except velkport.VelkportError as error:
        sys.exit(f"python_asyncio: {error}")
