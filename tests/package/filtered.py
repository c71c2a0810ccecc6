#!/usr/bin/python3
# Runs a program under the system call filter of a unit: filtered UNIT PROGRAM ARGUMENT...
# A system call outside of the filter kills the program, as under systemd.
import os
import re
import subprocess
import sys

import seccomp


def calls(group):
    listing = subprocess.run(["systemd-analyze", "syscall-filter", group], check=True, capture_output=True, text=True)
    names = set()
    for name in re.findall(r"^    ([@\w-]+)$", listing.stdout, re.MULTILINE):
        names |= calls(name) if name.startswith("@") else {name}
    return names


allowed = calls("@default")
for line in re.findall(r"^SystemCallFilter=(.*)$", open(sys.argv[1]).read(), re.MULTILINE):
    listed = set().union(*(calls(group) for group in line.lstrip("~").split()))
    allowed = allowed - listed if line.startswith("~") else allowed | listed

rules = seccomp.SyscallFilter(seccomp.KILL_PROCESS)
for name in sorted(allowed):
    try:
        rules.add_rule(seccomp.ALLOW, name)
    except RuntimeError:
        pass  # a call of another architecture
rules.load()
os.execv(sys.argv[2], sys.argv[2:])
