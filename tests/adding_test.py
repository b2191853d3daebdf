#!/usr/bin/env python3
"""Follows docs/adding.md: applies its rows to a copy of the sources, compiles what they change and
links it before the library.

    adding_test.py SOURCE BUILD CMAKE C++ ARCHIVE FLAGS
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

SOURCE, BUILD = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
CMAKE, CXX, ARCHIVE, FLAGS = sys.argv[3:7]

# What follows directly from a changed row, by the names of the object files.
CHANGED = ["com_typelen", "com_conv", "com_null", "com_char", "com_datea", "com_i4", "com_si1", "com_batch_each"]

PROGRAM = r"""
#include "vdxcomn.h"
#include <cstdio>
#include <cstring>

int failed = 0;
#define IS(condition) failed += (condition) ? 0 : std::printf("not so: %s\n", #condition)

int main() {
  vdx_context c{};
  c.version = VDX_VERSION;
  com_conv_init(&c);
  com_null_init(&c);
  vdx_datafmt from{}, to{};
  int32_t length = 0, wide = 0;
  const auto call = [&](vdx_convfn function, int source, int n, const void* value, int destination,
                        void* result) {
    from.datatype = source;
    from.maxlength = n;
    to.datatype = destination;
    to.maxlength = 8;
    IS(com_conv_func(&c, source, destination) == function);
    return function(&c, &from, value, &to, result, &length);
  };
  const vdx_datea day = 39447;
  vdx_timea time = 1;
  IS(call(comn_dateatotimea, VDX_DATEA, 0, &day, VDX_TIMEA, &time) == 1 && time == 0);
  int8_t small = 0;
  IS(call(comn_chartosi1, VDX_TEXT, 4, "-128", VDX_SI1, &small) == 1 && small == -128);
  IS(call(comn_chartosi1, VDX_CHAR, 4, "-129", VDX_SI1, &small) == -101 && small == -128);
  IS(call(comn_si1toi4, VDX_SI1, 0, &small, VDX_I4, &wide) == 1 && wide == -128 && length == 4);
  wide = 500;
  IS(call(comn_i4tosi1, VDX_I4, 0, &wide, VDX_SI1, &small) == -101 && small == 127 && length == 1);
  IS(call(comn_si1tosi1, VDX_SI1, 0, &small, VDX_SI1, &small) == 1 && small == 127);
  char text[8];
  IS(call(comn_si1tochar, VDX_SI1, 0, &small, VDX_CHAR, text) == 1 && length == 3 &&
     std::memcmp(text, "127", 3) == 0);
  from.maxlength = 2;
  int8_t many[2] = {};
  IS(comnb_chartosi1(&c, &from, "-712", 2, many, 1, nullptr, 2) == 0 && many[0] == -7 && many[1] == 12);
  IS(comn_typelen(VDX_SI1, 9) == 1);
  to.datatype = VDX_SI1;
  IS(com_null_get(&c, &to, text, 8, &length) == 1 && length == 1 && text[0] == 0);
  com_null_free(&c);
  com_conv_free(&c);
  return failed;
}
"""


def follow(page, tree):
    """Does what the page says, and gives how many places were changed."""
    steps = re.findall(r"(In|A new file)\s+`([^`]+)`(?:,\s+(after|in\s+place\s+of)\s+`([^`]+)`)?:\n\n"
                       r"( *)```c\n(.*?) *```", page, re.S)
    for _, name, how, mark, indent, block in steps:
        rows = "".join(line.removeprefix(indent) + "\n" for line in block.splitlines())
        path = tree / name
        if not how:
            path.write_text(rows)
            continue
        text = path.read_text()
        if text.count(mark + "\n") != 1:
            sys.exit(f"{name} has no line, or several, that end in: {mark}")
        text = text.replace(mark + "\n", rows if how != "after" else mark + "\n" + rows)
        path.write_text(text)
    return len(steps)


def run(command, **more):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **more)
    if done.returncode != 0:
        sys.exit(f"{command}\n{done.stdout}")


def main():
    tree = BUILD / "adding"
    shutil.rmtree(tree, ignore_errors=True)
    for name in ("include", "generic", "posix", "cmake"):
        shutil.copytree(SOURCE / name, tree / name)
    shutil.copy(SOURCE / "CMakeLists.txt", tree)
    steps = follow((SOURCE / "docs/adding.md").read_text(encoding="utf-8"), tree)
    if steps != 8:
        sys.exit(f"{steps} steps were found on the page")
    build = tree / "build"
    run([CMAKE, "-S", tree, "-B", build, "-DVDX_TESTS=OFF", "-DVDX_TOOLS=OFF", f"-DCMAKE_CXX_COMPILER={CXX}",
         f"-DCMAKE_CXX_FLAGS={FLAGS}", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0"])
    run([CMAKE, "--build", build, "--target", "vdx_lists"])
    commands = {pathlib.Path(c["file"]).stem: c for c in json.loads((build / "compile_commands.json").read_text())}

    def compile_one(stem):
        one = commands[stem]
        output = re.search(r" -o (\S+)", one["command"])[1]
        (build / output).parent.mkdir(parents=True, exist_ok=True)
        run(one["command"], cwd=one["directory"], shell=True)
        return str(build / output)

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        objects = list(pool.map(compile_one, CHANGED))
    (tree / "program.cpp").write_text(PROGRAM)
    program = tree / "program"
    run([CXX, *FLAGS.split(), "-std=c++20", f"-I{tree}/include", f"-I{build}/generated/include",
         "-DVDXCOMN_STATIC", tree / "program.cpp", *objects, ARCHIVE, "-pthread", "-o", program])
    run([program])


main()
