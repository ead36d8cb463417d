# SPDX-License-Identifier: MIT
"""Lists the cameras that are plugged in: python3 -m orvik"""
import orvik


def main() -> None:
    cameras = orvik.devices()
    if not cameras:
        print("no cameras")
    for camera in cameras:
        print(f"{camera.name or 'unknown model':20} serial {camera.serial or '-':12} "
              f"port {camera.port:8} open it with orvik.open({camera.identity!r})")


if __name__ == "__main__":
    main()
