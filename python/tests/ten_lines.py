"""Reads the ring-tone information and image 1 from the phone on the device
given: what a user's first script does after installing the package."""
import sys

import velkport

with velkport.Phone(sys.argv[1]) as phone:
    tones, frames = phone.tone_info(), phone.read_image(1)
print(f'tones "{tones.name}" {list(tones.values)}, image 1: {len(frames)} frame(s)')
sys.exit(0 if frames and len(frames[0]) == 1536 else 1)
