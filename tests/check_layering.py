#!/usr/bin/env python3
"""The source tree keeps its layers:
 - only src/capi/ includes the public C headers (VORKCoreCommC/*.h);
 - system headers (system calls) are included only under src/platform/;
 - the folders of src/ include each other without cycles.
usage: check_layering.py SOURCE_DIR"""
import graphlib
import os
import re
import sys

SYSTEM_HEADERS = re.compile(r'#include <(unistd|fcntl|sys/[a-z_]+|syslog|pwd|grp|dirent|ifaddrs|netinet/[a-z_]+|'
                            r'arpa/[a-z_]+|poll|signal|spawn|dlfcn|linux/[a-z_]+)\.h>')
PUBLIC_C_HEADER = re.compile(r'#include [<"]VORKCoreCommC/[A-Za-z_]+\.h[>"]')
LOCAL = re.compile(r'#include "([a-z]+)/')

src = os.path.join(sys.argv[1], "src")
problems = []
graph = {}
for root, _, files in os.walk(src):
    for name in sorted(files):
        path = os.path.join(root, name)
        relative = os.path.relpath(path, src)
        folder = relative.split(os.sep)[0]
        text = open(path, encoding="utf-8").read()
        if folder != "capi" and PUBLIC_C_HEADER.search(text):
            problems.append(f"{path}: includes a public C header")
        if folder != "platform" and SYSTEM_HEADERS.search(text):
            problems.append(f"{path}: system header outside src/platform")
        graph.setdefault(folder, set()).update(m for m in LOCAL.findall(text) if m != folder)


try:
    tuple(graphlib.TopologicalSorter(graph).static_order())
except graphlib.CycleError as error:
    problems.append("include cycle: " + " -> ".join(reversed(error.args[1])))

for problem in problems:
    print(problem)
sys.exit(1 if problems else 0)
