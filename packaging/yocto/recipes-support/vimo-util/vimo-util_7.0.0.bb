# SPDX-License-Identifier: MIT
SUMMARY = "Configuration, tables, files, priority queues and a clock for C++ on embedded Linux"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=9ac5df55064440558e92d6c5b8c005e7"

inherit cmake externalsrc

# The tree that holds this layer.
EXTERNALSRC = "${@os.path.abspath(os.path.join(d.getVar('THISDIR'), '../../../..'))}"

# A cancelled thread does not unwind there.
COMPATIBLE_HOST:libc-musl = "null"

FILES:${PN}-dbg += "${datadir}/gdb"
