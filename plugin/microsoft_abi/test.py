#!/usr/bin/env python3
"""Holds the public headers against the binary contract with a host that Microsoft's compiler built.

clang lays the classes out as that compiler does (target x86_64-pc-windows-msvc) and prints its tables. Nothing of
Windows is needed: the few Qt classes that the headers name are declared in declarations/, as the host's Qt 4 has them.
Usage: test.py [CLANG]
"""
import os
import re
import subprocess
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(os.path.dirname(HERE))
CLANG = "clang++"

OPERATIONS = ["initialize", "connect", "deleteConnection", "disconnect", "openReader", "createWriter", "fileExists", "fileInfo",
              "getListing", "copy", "rename", "delete_", "mkdirs", "setReplication", "freeListing", "setPermission", "setOwner",
              "deleteReader", "freeBlockList", "setPosition", "fileLength", "position", "read", "deleteWriter", "closeWriter",
              "bytesWritten", "write", "setSyncBlock", "syncBlock", "setChunkSize", "chunkSize", "getOpenFileName",
              "getSaveFileName", "getExistingDirectory"]
QOBJECT = ["metaObject", "qt_metacast", "qt_metacall", "~", "event", "eventFilter", "timerEvent", "childEvent", "customEvent",
           "connectNotify", "disconnectNotify"]
# Operation: result and arguments as the host's compiler reads them.
SIGNATURES = {
    "initialize": "int ()",
    "connect": "NameNodeConnection * ()",
    "deleteConnection": "void (NameNodeConnection *)",
    "disconnect": "int (NameNodeConnection *)",
    "openReader": "HdfsFileReader * (NameNodeConnection *, QByteArray)",
    "createWriter": "HdfsFileWriter * (NameNodeConnection *, QByteArray, unsigned int, unsigned short, long long)",
    "fileExists": "int (NameNodeConnection *, QByteArray, bool *, bool *)",
    "fileInfo": "HdfsFileStatus * (NameNodeConnection *, QByteArray, bool *)",
    "getListing": "HdfsFileStatus * (NameNodeConnection *, QByteArray, int *)",
    "copy": "int (NameNodeConnection *, QByteArray, QByteArray)",
    "rename": "int (NameNodeConnection *, QByteArray, QByteArray)",
    "delete_": "int (NameNodeConnection *, QByteArray, unsigned char)",
    "mkdirs": "int (NameNodeConnection *, QByteArray, unsigned int, unsigned char)",
    "setReplication": "int (NameNodeConnection *, QByteArray, unsigned short)",
    "freeListing": "void (HdfsFileStatus *)",
    "setPermission": "int (NameNodeConnection *, QByteArray, unsigned short)",
    "setOwner": "int (NameNodeConnection *, QByteArray, QByteArray, QByteArray)",
    "deleteReader": "void (HdfsFileReader *)",
    "freeBlockList": "void (HdfsFileReader *)",
    "setPosition": "void (HdfsFileReader *, long long)",
    "fileLength": "long long (HdfsFileReader *)",
    "position": "long long (HdfsFileReader *)",
    "read": "unsigned int (HdfsFileReader *, char *, unsigned int, int *)",
    "deleteWriter": "void (HdfsFileWriter *)",
    "closeWriter": "int (HdfsFileWriter *, const char *, unsigned int)",
    "bytesWritten": "long long (HdfsFileWriter *)",
    "write": "int (HdfsFileWriter *, const char *, unsigned int)",
    "setSyncBlock": "void (HdfsFileWriter *, unsigned char)",
    "syncBlock": "unsigned char (HdfsFileWriter *)",
    "setChunkSize": "bool (HdfsFileWriter *, unsigned int)",
    "chunkSize": "unsigned int (HdfsFileWriter *)",
    "getOpenFileName": "QString (QWidget *, QString, QString, QString)",
    "getSaveFileName": "QString (QWidget *, QString, QString, QString)",
    "getExistingDirectory": "QString (QWidget *, QString, QString)",
}
# Offset, type and name of each field; the two of a byte string are its own.
STATUS = [(0, "std::uint32_t", "kind"),
          (8, "struct ByteString", "path"), (8, "const char *", "data"), (16, "std::size_t", "size"),
          (24, "std::uint64_t", "modificationTime"), (32, "std::uint64_t", "length"), (40, "std::uint16_t", "replication"),
          (48, "std::uint64_t", "blockSize"),
          (56, "struct ByteString", "owner"), (56, "const char *", "data"), (64, "std::size_t", "size"),
          (72, "struct ByteString", "group"), (72, "const char *", "data"), (80, "std::size_t", "size"),
          (88, "std::uint16_t", "permission"), (96, "std::uint64_t", "accessTime"), (104, "struct HdfsFileStatus *", "next")]
CONNECT_WITH_PARAMETERS = "int (NameNodeConnection *, QByteArray, unsigned int, QByteArray, unsigned int, unsigned char, int, unsigned int)"


def compiled(*options):
    command = [CLANG, "--target=x86_64-pc-windows-msvc", "-std=c++14", "-ffreestanding", "-nostdinc++", "-Wall", "-Wextra",
               "-Werror", "-Wno-non-virtual-dtor", "-I", os.path.join(HERE, "declarations"), "-I", TOP, "-S", "-emit-llvm", "-o",
               os.devnull, *options, os.path.join(HERE, "tables.cpp")]
    run = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
    if run.returncode != 0:
        raise AssertionError(run.stderr)
    return run.stdout + run.stderr


def tables():
    """The tables of functions by the names of the classes whose they are: a list of (class, function, text)."""
    found = {}
    rows = None
    for line in compiled("-Xclang", "-fdump-vtable-layouts").splitlines():
        head = re.match(r"VFTable for '([^']*)'(?: in '([^']*)')? \((\d+) entr", line)
        row = re.match(r"\s+(\d+) \| (.*)", line)
        if head:
            rows = found.setdefault(" in ".join(filter(None, head.groups()[:2])), [])
            rows.clear()
        elif row and rows is not None:
            if "RTTI" not in row.group(2):
                rows.append(row.group(2))
        elif line.strip() and not line.startswith("      "):
            rows = None
    return found


def name_of(text):
    """Of "int QObject::f(A *, B)": "f"; of a destructor: "~"."""
    if "~" in text:
        return "~"
    return re.match(r".*?(\w+)\(", text).group(1)


def signature_of(text, name):
    before, behind = re.match(r"(.*?)\b(?:\w+::)*" + name + r"\((.*)\)", text).groups()
    written = f"{before.strip()} ({behind})"
    for ours, theirs in [("quint8", "unsigned char"), ("quint16", "unsigned short"), ("quint32", "unsigned int"), ("qint32", "int"),
                         ("qint64", "long long")]:
        written = re.sub(rf"\b{ours}\b", theirs, written)
    return written


class BinaryContract(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tables = tables()
        cls.interface = cls.tables["QuorHDFSPluginInterface"]

    def test_the_interface_has_its_destructor_first_and_then_the_34_operations_in_order(self):
        self.assertEqual(["~"] + OPERATIONS, [name_of(text) for text in self.interface])
        self.assertEqual(35, len(self.interface))

    def test_each_operation_takes_and_gives_what_the_host_expects(self):
        self.assertEqual(sorted(OPERATIONS), sorted(SIGNATURES))
        for text, name in zip(self.interface[1:], OPERATIONS):
            with self.subTest(name):
                self.assertEqual(SIGNATURES[name], signature_of(text, name))

    def test_every_operation_is_pure_in_the_interface(self):
        self.assertEqual(34, sum("[pure]" in text for text in self.interface))

    def test_the_root_object_begins_with_the_table_of_qobject_and_then_its_own_operation(self):
        rows = self.tables["QObject in ImplementationQuorHDFSPluginInterface"]
        self.assertEqual(QOBJECT + ["connectWithParameters"], [name_of(text) for text in rows])
        self.assertEqual(CONNECT_WITH_PARAMETERS, signature_of(rows[-1], "connectWithParameters"))

    def test_the_interface_is_the_second_part_of_the_root_object(self):
        rows = self.tables["QuorHDFSPluginInterface in ImplementationQuorHDFSPluginInterface"]
        self.assertEqual(["~"] + OPERATIONS, [name_of(text) for text in rows])
        layout = compiled("-Xclang", "-fdump-record-layouts")
        block = re.search(r"\n\s*0 \| class ImplementationQuorHDFSPluginInterface\n(.*?)\n\n", layout, re.S).group(1)
        self.assertRegex(block, r"\s0 \|   class QObject \(primary base\)")
        self.assertRegex(block, r"\s16 \|   class QuorHDFSPluginInterface \(base\)")

    def test_the_status_record_has_the_layout_that_the_host_reads(self):
        layout = compiled("-Xclang", "-fdump-record-layouts")
        block = re.search(r"\n\s*0 \| struct HdfsFileStatus\n(.*?)\n\n", layout, re.S).group(1)
        fields = re.findall(r"\s*(\d+) \|\s+(\S.*?) (\w+)$", block.split("[sizeof")[0].rstrip(" |\n"), re.M)
        self.assertEqual(STATUS, [(int(offset), kind, name) for offset, kind, name in fields])
        self.assertIn("[sizeof=112, align=8,", block)


if __name__ == "__main__":
    if len(sys.argv) > 1 and not sys.argv[1].startswith("-"):
        CLANG = sys.argv.pop(1)
    unittest.main()
