#!/usr/bin/env python3
"""Makes the archive for Windows, unpacks it elsewhere and uses it as a user would, with Wine and a private HDFS.

A host that is built from the archive's headers alone loads the plug-in from a folder that is not the current one and whose
name has characters that are not ASCII; it lists, writes, reads and shows the dialog. Pictures of that are left in the build's
folder sample-host.
Usage: package_test.py --build FOLDER --toolchain FILE --core MarrowbyCore.dll --qt FOLDER
"""
import argparse
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(HERE)
PRIVATE_HDFS = os.path.join(TOP, "cluster", "private-hdfs")
WINE_RUN = os.path.join(TOP, "tools", "wine-run")
OPTIONS = None

CONTENTS = ["INSTALL.txt", "LICENCES.txt", "QuorHDFS.dll", "QuorHDFS.reg", "include/plugin/QuorHDFSPluginInterface.h",
            "include/rpc/HdfsFileStatus.h"]
EXPORTS = {"qt_plugin_instance", "qt_plugin_query_metadata", "qt_plugin_query_verification_data"}
# Part of every 64-bit Windows since 7, and what the host brings.
IMPORTS = {"advapi32.dll", "iphlpapi.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "rpcrt4.dll", "shell32.dll", "user32.dll",
           "gdi32.dll", "ws2_32.dll"}
HOSTS_IMPORTS = {"marrowbycore.dll", "qt5core.dll", "qt5gui.dll", "qt5widgets.dll"}
VERIFICATION_DATA = (b"pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.8.7\ndebug=false\n"
                     b"buildkey=Windows x64 msvc release full-config\0")
STEPS = ["arguments", "load", "interface", "initialize", "connect", "create", "write", "close", "open", "read", "the same bytes",
         "list", "delete", "gone", "hdfs", "computer", "local", "unload"]


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory(prefix="quorhdfs-package-")
        cls.folder = cls.temporary.name
        cls.addClassCleanup(cls.temporary.cleanup)
        made = os.path.join(cls.folder, "made")
        run("cpack", "--config", os.path.join(OPTIONS.build, "CPackConfig.cmake"), "-B", made)
        archives = [name for name in os.listdir(made) if name.endswith(".zip")]
        cls.archive = os.path.join(made, archives[0])
        cls.assert_one = len(archives)
        cls.unpacked = os.path.join(cls.folder, "Pläne & 計画")
        with zipfile.ZipFile(cls.archive) as archive:
            cls.names = archive.namelist()
            archive.extractall(cls.unpacked)
        cls.root = os.path.join(cls.unpacked, os.path.basename(cls.archive)[:-len(".zip")])
        cls.dll = os.path.join(cls.root, "QuorHDFS.dll")
        cls.tables = run("x86_64-w64-mingw32-objdump", "-p", cls.dll)

    def wine(self, *arguments, **options):
        prefix = os.path.join(self.folder, "wine")
        return run(WINE_RUN, "--prefix", prefix, "--qt", OPTIONS.qt, *arguments, **options)

    def test_holds_what_it_says_in_one_folder(self):
        self.assertEqual(1, self.assert_one)
        top = os.path.basename(self.root)
        self.assertRegex(top, r"^QuorHDFS-\d+\.\d+\.\d+-windows-x64-qt5\.15\.\d+$")
        files = sorted(name for name in self.names if not name.endswith("/"))
        self.assertEqual([f"{top}/{name}" for name in CONTENTS], files)

    def test_texts_have_the_line_ends_of_windows_and_nothing_left_open(self):
        for name in "INSTALL.txt", "LICENCES.txt", "QuorHDFS.reg":
            with self.subTest(name), open(os.path.join(self.root, name), "rb") as file:
                content = file.read()
                if name.endswith(".reg"):
                    self.assertEqual(b"\xff\xfe", content[:2])
                    text = content[2:].decode("utf-16-le")
                else:
                    text = content.decode("ascii")
                self.assertNotIn("@", text)
                self.assertEqual(text.count("\n"), text.count("\r\n"))
                self.assertTrue(text.endswith("\r\n"))
        for name, part in ("INSTALL.txt", "MinGW-w64's GCC"), ("LICENCES.txt", "nanopb"), ("LICENCES.txt", "winpthreads"):
            with open(os.path.join(self.root, name), encoding="ascii") as file:
                self.assertIn(part, file.read())

    def test_exports_what_loaders_ask_for_and_nothing_else(self):
        table = self.tables[self.tables.index("[Ordinal/Name Pointer] Table"):]
        self.assertEqual(EXPORTS, set(re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+\w+\s+)?(\w+)$", table, re.M)))
        with open(self.dll, "rb") as file:
            self.assertEqual(1, file.read().count(VERIFICATION_DATA))

    def test_imports_the_systems_libraries_and_the_hosts_only(self):
        imports = {name.lower() for name in re.findall(r"DLL Name: (\S+)", self.tables)}
        self.assertTrue(HOSTS_IMPORTS <= imports, imports)
        self.assertEqual(set(), imports - HOSTS_IMPORTS - IMPORTS)

    def test_says_its_version(self):
        version = re.search(r"QuorHDFS-(\d+\.\d+\.\d+)-", self.archive).group(1)
        with open(self.dll, "rb") as file:
            content = file.read()
        for name, value in ("FileVersion", version), ("ProductVersion", version), ("OriginalFilename", "QuorHDFS.dll"):
            entry = re.escape(name.encode("utf-16-le")) + b"(?:\\0\\0)+" + re.escape(value.encode("utf-16-le"))
            self.assertRegex(content, entry)

    def test_a_host_built_from_its_headers_alone_lists_writes_reads_and_chooses(self):
        build = os.path.join(self.folder, "host")
        run("cmake", "-S", os.path.join(HERE, "sample_host"), "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
            f"-DCMAKE_TOOLCHAIN_FILE={OPTIONS.toolchain}", f"-DQUORHDFS_INCLUDE={os.path.join(self.root, 'include')}")
        run("cmake", "--build", build)
        shutil.copy(OPTIONS.core, build)
        pictures = os.path.join(OPTIONS.build, "sample-host")
        shutil.rmtree(pictures, ignore_errors=True)
        os.mkdir(pictures)
        data = os.path.join(self.folder, "hdfs")
        started = run(PRIVATE_HDFS, "start", "--owner", os.getpid(), "--data", data)
        words = (word for line in started.splitlines() for word in shlex.split(line))
        values = dict(word.split("=", 1) for word in words if word.startswith("PRIVATE_HDFS_"))
        try:
            run(os.path.join(values["PRIVATE_HDFS_BIN"], "hdfs"), "dfs", "-mkdir", "-p", "/tmp")
            # The archive's settings, and then this cluster's in their place, both by Windows' own tools.
            # As somebody edits it whose name is not English.
            settings = os.path.join(self.root, "QuorHDFS.reg")
            with open(settings, encoding="utf-16", newline="") as file:
                text = file.read()
            self.assertIn('"namenode.example.com:8020|0|alice"', text)
            edited = os.path.join(self.folder, "edited.reg")
            with open(edited, "wb") as file:
                file.write(b"\xff\xfe" + text.replace("alice", "\u0141ucja").encode("utf-16-le"))
            query = ("reg", "query", "HKCU\\Software\\Quor", "/s")
            self.wine("regedit", "/S", windows_path(settings))
            said = self.wine(*query)
            for value in "namenode.example.com:8020|0|alice", "webhdfs", "abandonBlock", "defaultBrowser":
                self.assertIn(value, said)
            self.wine("regedit", "/S", windows_path(edited))
            exported = os.path.join(self.folder, "exported.reg")
            self.wine("regedit", "/E", windows_path(exported), "HKEY_CURRENT_USER\\Software\\Quor")
            with open(exported, encoding="utf-16") as file:
                self.assertIn("|0|\u0141ucja\"", file.read())
            namenode = f"{values['PRIVATE_HDFS_NAMENODE']}|0|{values['PRIVATE_HDFS_SUPERUSER']}"
            self.wine("reg", "add", "HKCU\\Software\\Quor", "/v", "hdfs", "/t", "REG_SZ", "/d", namenode, "/f")
            self.assertIn(namenode, self.wine(*query))
            said = self.wine(os.path.join(build, "sample_host.exe"), windows_path(self.dll), windows_path(pictures),
                             cwd=self.folder)
        finally:
            run(PRIVATE_HDFS, "stop", "--data", data)
            run(WINE_RUN, "--prefix", os.path.join(self.folder, "wine"), "--end")
        self.assertEqual([f"{step}: done" for step in STEPS], said.replace("\r", "").splitlines())
        for name in "hdfs", "computer", "local":
            self.assertLess(5000, os.path.getsize(os.path.join(pictures, name + ".png")))


def interrupt(*_):
    raise KeyboardInterrupt


if __name__ == "__main__":
    # Told to end, it cleans up.
    signal.signal(signal.SIGTERM, interrupt)
    parser = argparse.ArgumentParser()
    for option in "build", "toolchain", "core", "qt":
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    for name, value in vars(OPTIONS).items():
        setattr(OPTIONS, name, os.path.abspath(value))
    unittest.main(argv=sys.argv[:1] + rest)
