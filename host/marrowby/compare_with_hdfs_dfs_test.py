#!/usr/bin/env python3
"""Runs the same commands through `hdfs dfs` and `marrowby` and compares what people and scripts see of them.

    ./run --exec host/marrowby/compare_with_hdfs_dfs_test.py [-v] [TEST]...

It needs the environment that ./run prepares: a private HDFS, and both programs on the PATH. It takes about ten minutes
on an idle machine. Each case is one command on two trees that were made alike, one for either program. Compared are the
exit status, standard output, the messages on standard error (without usage texts and the Java client's own log lines)
and what the command left behind. Differences that are meant have tests of their own at the end.
"""
import http.client
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse

NAMENODE = os.environ.get("PRIVATE_HDFS_NAMENODE")
NAMENODE_WEB = os.environ.get("PRIVATE_HDFS_NAMENODE_WEB")
SUPERUSER = os.environ.get("PRIVATE_HDFS_SUPERUSER")
ROOT = "/compare"
START = 1000 * int(time.time()) - 60000  # milliseconds

class Program:
    """One of the two clients, with a tree and a working directory of its own."""

    def __init__(self, name):
        self.name = name
        self.tree = f"{ROOT}/{name}"
        self.local = None

    def command(self, user, generic, arguments):
        if self.name == "hdfs":
            return ["hdfs", "dfs", *generic, "-" + arguments[0], *arguments[1:]]
        return ["marrowby", "--user", user, *generic, *arguments]

    def run(self, user, arguments):
        arguments = [word.replace("{d}", self.tree) for word in arguments]
        generic = 2 * (arguments[0] == "-D")  # words before the command
        environment = {**os.environ, "HADOOP_USER_NAME": user}
        done = subprocess.run(self.command(user, arguments[:generic], arguments[generic:]), cwd=self.local, env=environment,
                              stdin=subprocess.DEVNULL, capture_output=True)
        return {"exit status": done.returncode,
                "standard output": self.neutral(done.stdout),
                "messages": self.messages(arguments[generic], done.stderr)}

    def neutral(self, output):
        text = output.decode("utf-8", "surrogateescape")
        for own in (self.tree, self.local):
            text = text.replace(own, "{d}")
        # The width of a column of paths does not depend on them, so the text is comparable now.
        return text

    def messages(self, command, stderr):
        lines = self.neutral(stderr).splitlines()
        return [line for line in lines if line.startswith((command + ": ", "-" + command + ": "))]


HDFS, MARROWBY = PROGRAMS = (Program("hdfs"), Program("marrowby"))


def hdfs(*arguments):
    return subprocess.run(["hdfs", "dfs", *arguments], check=True, capture_output=True, text=True).stdout


class Rest:
    """The cluster's REST interface: a third client, which makes the trees and looks at them quickly."""

    def __init__(self):
        self.connection = http.client.HTTPConnection(NAMENODE_WEB)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.connection.close()

    def call(self, method, path, operation, body=None, **parameters):
        query = urllib.parse.urlencode({"op": operation, "user.name": SUPERUSER, **parameters})
        self.connection.request(method, "/webhdfs/v1" + urllib.parse.quote(path) + "?" + query)
        answer = self.connection.getresponse()
        content = answer.read()
        if answer.status == 307:
            answer, content = self.follow(method, answer.headers["Location"], body)
        if answer.status not in (200, 201):
            raise RuntimeError(f"{operation} {path}: {answer.status} {content.decode(errors='replace')}")
        return json.loads(content) if content else None

    @staticmethod
    def follow(method, location, body):
        url = urllib.parse.urlsplit(location)
        node = http.client.HTTPConnection(url.netloc)
        node.request(method, f"{url.path}?{url.query}", body)
        answer = node.getresponse()
        content = answer.read()
        node.close()
        return answer, content

    def file(self, path, content, **parameters):
        self.call("PUT", path, "CREATE", content, overwrite="true", **parameters)

    def entries(self, path):
        """Everything below a path, without times."""
        found = []
        for status in self.call("GET", path, "LISTSTATUS")["FileStatuses"]["FileStatus"]:
            name = status["pathSuffix"]
            fields = [status[key] for key in ("type", "permission", "owner", "group", "length", "replication")]
            found.append((name, *fields))
            if status["type"] == "DIRECTORY":
                found += [(f"{name}/{entry[0]}", *entry[1:]) for entry in self.entries(f"{path}/{name}")]
        return found


# Below the tree: permission, owner, group; a size and a replication for a file.
DIRECTORIES = {"t": 0o755, "t/dir": 0o755, "t/dir/sub": 0o755, "t/dir/sub/deep": 0o755, "t/alices": 0o755,
               "t/alices/own": 0o755, "t/private": 0o700, "t/private/inner": 0o755, "t/open": 0o1777, "t/hollow": 0o755,
               "t/größe": 0o755}
FILES = {"t/small": 12, "t/text": 4053, "t/blocks": 2500000, "t/empty": 0, "t/k1": 1024, "t/k1.25": 1280,
         "t/almost1m": 1048525, "t/dir/a": 12, "t/dir/b": 12, "t/dir/c": 12, "t/dir/sub/deep/x": 5, "t/alices/f": 12,
         "t/private/secret": 12, "t/private/inner/y": 12, "t/with space": 12, "t/größe/ü": 12, "t/back\\slash": 12,
         "t/.hidden": 12, "t/open/f": 12}


def content_of(size):
    line = b"%d bytes of text\n" % size
    return (line * (size // len(line) + 1))[:size]


def make_tree(tree):
    with Rest() as rest:
        rest.call("DELETE", tree, "DELETE", recursive="true")
        for path, mode in DIRECTORIES.items():
            rest.call("PUT", f"{tree}/{path}", "MKDIRS")
            rest.call("PUT", f"{tree}/{path}", "SETPERMISSION", permission=f"{mode:o}")
        for path, size in FILES.items():
            replication = 12 if path == "t/k1" else 3
            mode = "600" if path == "t/dir/b" else "644"
            rest.file(f"{tree}/{path}", content_of(size), permission=mode, replication=replication)
        for path in ("t/alices", "t/alices/own", "t/alices/f"):
            rest.call("PUT", f"{tree}/{path}", "SETOWNER", owner="alice", group="staff")
        # All times are given, so that listings of both trees are the same; not in the order of names or sizes. Accesses
        # are young: reading a file whose last access was an hour ago would change its time.
        for number, path in enumerate([*reversed(FILES), *DIRECTORIES]):
            shuffled = number * 7 % 11
            access = START + 1000 * shuffled if path in FILES else -1
            modification = 1700000000123 + 61000 * shuffled
            rest.call("PUT", f"{tree}/{path}", "SETTIMES", modificationtime=modification, accesstime=access)


def local_files(directory):
    found = {}
    for folder, directories, files in os.walk(directory):
        for name in directories:
            path = os.path.join(folder, name)
            found[os.path.relpath(path, directory)] = "directory"
        for name in files:
            path = os.path.join(folder, name)
            if os.path.islink(path):
                found[os.path.relpath(path, directory)] = "link to " + os.readlink(path)
                continue
            with open(path, "rb") as file:
                found[os.path.relpath(path, directory)] = file.read()
    return found


class Comparison(unittest.TestCase):
    maxDiff = None
    trees_are_new = False

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="compare-")
        for program in PROGRAMS:
            program.local = os.path.join(cls.folder, program.name)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def renew(self):
        """Both trees and both working directories, so that every case begins with the same."""
        if not Comparison.trees_are_new:
            for program in PROGRAMS:
                make_tree(program.tree)
        Comparison.trees_are_new = True
        for program in PROGRAMS:
            shutil.rmtree(program.local, ignore_errors=True)
            os.makedirs(program.local)

    def same(self, cases, changes):
        """`cases`: a table, one command a line; "alice$ " before it lets alice run it. Several commands of one case are
        separated by ";"."""
        for case in filter(None, map(str.strip, cases.splitlines())):
            with self.subTest(case):
                self.renew()
                for command in case.split(";"):
                    user, words = parsed(command)
                    results = [program.run(user, words) for program in PROGRAMS]
                    self.assertEqual(*results, f"\nleft: hdfs dfs, right: marrowby: {command}")
                if changes:
                    Comparison.trees_are_new = False
                    with Rest() as rest:
                        self.assertEqual(*(rest.entries(program.tree) for program in PROGRAMS))
                self.assertEqual(*(local_files(program.local) for program in PROGRAMS))


def parsed(command):
    """Words, in which '_' stands for a space and "''" for nothing."""
    user, dollar, rest = command.partition("$ ")
    if not dollar:
        user, rest = SUPERUSER, command
    words = [word.replace("_", " ") if word != "''" else "" for word in rest.split()]
    return user.strip(), words


class ReadingCommands(Comparison):
    def test_ls(self):
        self.same("""
            ls {d}/t
            ls -h {d}/t
            ls -R {d}/t
            ls -R -h {d}/t
            ls -d {d}/t
            ls -d {d}/t {d}/t/small
            ls -d -R {d}/t
            ls -C {d}/t
            ls -C -R {d}/t
            ls -t {d}/t
            ls -t -r {d}/t
            ls -S {d}/t
            ls -S -r {d}/t
            ls -S -R {d}/t
            ls -t -R {d}/t
            ls -r -R {d}/t
            ls -t -S {d}/t
            ls -r {d}/t
            ls -u {d}/t/dir
            ls -u -t {d}/t/dir
            ls -q {d}/t
            ls {d}/t/small
            ls {d}/t/small/
            ls {d}/t/dir/
            ls {d}/t/hollow
            ls -R {d}/t/hollow
            ls {d}/t/größe
            ls {d}/t/with_space
            ls {d}/t/small {d}/nope {d}/t/empty
            ls {d}/t/k1 {d}/t/blocks {d}/t/alices {d}/t/small
            ls {d}/nope
            ls -R {d}/nope
            ls {d}/t/small/x
            ls {d}/t//dir/../dir/.
            ls -- {d}/t/small
            ls -x {d}/t
            ls ''
            ls /../x
            alice$ ls {d}/t/private
            alice$ ls {d}/t/private/inner
            alice$ ls -R {d}/t
            alice$ ls {d}/t/private {d}/t/small
        """, changes=False)

    def test_patterns(self):
        self.same(r"""
            ls {d}/t/*
            ls -d {d}/t/*
            ls -R {d}/t/d*
            ls -t {d}/t/k*
            ls {d}/t/[a-e]*
            ls -d {d}/t/[^a-e]*
            ls -d {d}/t/[!a-e]*
            ls {d}/t/{small,empty}
            ls {d}/t/{dir/a,small}
            ls {d}/t/{nope/a,small}
            ls {d}/t/{,x}small
            ls {d}/t/s{m{a,b},n}ll
            ls {d}/t/?mall
            ls -d {d}/t/gr??e
            ls -d {d}/t*/s*
            ls {d}/*/small
            ls {d}/t/*/a {d}/nope
            ls {d}/t/nomatch*
            ls {d}/t/small*/x
            ls {d}/nope*/x
            ls {d}/nope/*
            ls {d}/t/hollow/*
            ls {d}/t/with\_space
            ls {d}/t/sm\all
            ls {d}/t/sm\*
            ls {d}/t/b*
            ls {d}/t/sma{ll
            ls {d}/t/sma}ll
            ls {d}/t/sm[all
            ls {d}/t/[]
            ls {d}/t/a,b
            ls {d}/t/.*
            alice$ ls {d}/t/*/inner
            alice$ ls {d}/t/p*/*
            alice$ ls {d}/t/private/*
            alice$ ls {d}/t/private/{a,b}
            stat %n {d}/t/*
            cat {d}/t/{small,k1}
            test -d {d}/t/{dir,open}
        """, changes=False)

    def test_stat(self):
        self.same(r"""
            stat {d}/t/text
            stat %b|%F|%g|%n|%o|%r|%u|%a|%A|%%|%q|\n|% {d}/t/text {d}/t/k1
            stat %b|%F|%g|%n|%o|%r|%u|%a|%A|%x|%X|%%|%q|\n|% {d}/t/open {d}/t
            stat %y|%Y|%x|%X {d}/t/text {d}/t/dir/a
            stat %n / {d}/t/größe/ü {d}/t/with_space
            stat {d}/nope
            stat {d}/t/text {d}/nope {d}/t/small
            stat %a %n {d}/t
            stat
            stat %n
            stat nope
            stat %n {d}/nope*
            alice$ stat %n {d}/t/private
            alice$ stat %n {d}/t/private/secret
        """, changes=False)

    def test_test(self):
        cases = [f"test {flag} {{d}}/{path}" for flag in ("-e", "-d", "-f", "-z", "-s")
                 for path in ("t", "t/small", "t/empty", "nope")]
        self.same("\n".join(cases) + """
            test -e {d}/t*
            test -e {d}/nope*
            test -f {d}/nope*
            test -r {d}/t/small
            test -r {d}/nope
            alice$ test -r {d}/t/small
            alice$ test -r {d}/t/dir/b
            alice$ test -r {d}/t/private
            alice$ test -r {d}/t/dir
            alice$ test -e {d}/t/private/secret
            test {d}/t
            test -e
            test
            test -e -z {d}/t/empty
            test -e {d}/t {d}/nope
            test -q {d}/t
            test -e ''
        """, changes=False)

    def test_cat_head_tail(self):
        self.same("""
            cat {d}/t/small
            cat {d}/t/small {d}/nope {d}/t/empty {d}/t/dir
            cat {d}/t/blocks
            cat -ignoreCrc {d}/t/small
            cat {d}/t/dir
            cat {d}/nope
            cat {d}/nope*
            cat {d}/t/größe/ü {d}/t/with_space
            cat
            cat -x {d}/t/small
            cat {d}/t/small/
            alice$ cat {d}/t/private/secret
            alice$ cat {d}/t/dir/b {d}/t/small
            head {d}/t/text
            head {d}/t/small
            head {d}/t/empty
            head {d}/t/k1
            head {d}/t/dir
            head {d}/nope
            head {d}/t/sm*
            head {d}/t/small {d}/t/text
            head
            alice$ head {d}/t/private/secret
            alice$ head {d}/t/dir/b
            tail {d}/t/text
            tail {d}/t/blocks
            tail {d}/t/small
            tail {d}/t/empty
            tail {d}/t/k1
            tail {d}/t/dir
            tail {d}/nope
            tail {d}/t/sm*
            tail
            alice$ tail {d}/t/private/secret
        """, changes=False)

    def test_relative_and_qualified_paths(self):
        # Both programs have the same home directory, so only reading commands are comparable there.
        hdfs("-mkdir", "-p", "/user/carol/sub/deep", "/user/carol2")
        hdfs("-touchz", "/user/carol/f", "/user/carol/sub/g", "/user/carol2/h")
        self.addCleanup(hdfs, "-rm", "-r", "-f", "/user/carol", "/user/carol2")
        self.same(f"""
            carol$ ls
            carol$ ls .
            carol$ ls -R
            carol$ ls -d .
            carol$ ls sub
            carol$ ls ./sub/
            carol$ ls ../carol2
            carol$ ls ../carol
            carol$ ls -d ..
            carol$ ls -R ../carol
            carol$ ls -d ../..
            carol$ ls s*
            carol$ ls ./s*/*
            carol$ ls ../carol*
            carol$ ls f ./f ../carol/f /user/carol/f
            carol$ ls nope ./nope ../nope nope/
            carol$ stat %n . sub
            carol$ cat nope
            carol$ mkdir sub
            carol$ mkdir nope/x
            carol$ mkdir /user/carol/nope/x/
            carol$ ls hdfs://{NAMENODE}/user/carol
            carol$ ls hdfs://{NAMENODE}
            carol$ ls hdfs:///user/carol/s*
            carol$ ls -R hdfs:///user/carol
            carol$ rm hdfs://{NAMENODE}/nope
            carol$ ls foo://x/y
            nobody$ ls
            nobody$ mkdir x
            nobody$ mkdir -p x/y
        """, changes=False)


class ChangingCommands(Comparison):
    def test_mkdir(self):
        self.same(r"""
            mkdir {d}/new
            mkdir {d}/new/
            mkdir {d}/a_b {d}/größer
            mkdir -p {d}/x/y/z {d}/t/dir
            mkdir {d}/t/brace\{x\}
        """, changes=True)
        self.same("""
            mkdir {d}/t
            mkdir /
            mkdir {d}/x/y/z
            mkdir {d}/t/small
            mkdir -p {d}/t/small
            mkdir {d}/t/small/x
            mkdir -p {d}/t/small/x
            mkdir {d}/nope*
            mkdir {d}/{x,y}
            mkdir {d}/t/d*
            mkdir
            mkdir -q {d}/x
            mkdir ''
            alice$ mkdir {d}/x
            alice$ mkdir -p {d}/x/y
            alice$ mkdir {d}/t/private/x
            alice$ mkdir {d}/t/private/inner/x
        """, changes=False)
        self.same("""
            mkdir {d}/one {d}/t {d}/two
            alice$ mkdir {d}/t/open/x {d}/x {d}/t/alices/y
        """, changes=True)

    def test_rm(self):
        self.same(r"""
            rm {d}/t/small
            rm {d}/t/small {d}/nope {d}/t/text
            rm -r {d}/t/dir
            rm -R {d}/t/dir {d}/t/small
            rm -r -f {d}/t/dir {d}/nope
            rm -skipTrash {d}/t/small
            rm -r -skipTrash -f {d}/t/dir
            rm -r {d}/t
            rm -r {d}/t/*
            rm {d}/t/*
            rm {d}/t/dir/?
            rm {d}/t/back*
            rm -r {d}/nope {d}/t/hollow
            alice$ rm {d}/t/open/f
            alice$ rm -r {d}/t/alices/own
            alice$ rm -r {d}/t/alices
        """, changes=True)
        self.same("""
            rm {d}/nope
            rm -f {d}/nope
            rm -f {d}/nope {d}/nope2
            rm {d}/nope/
            rm {d}/nope*
            rm -f {d}/nope*
            rm {d}/t/dir
            rm -f {d}/t/dir
            rm {d}/t/hollow
            rm /
            rm
            rm -f
            rm -r -f
            rm -q {d}/t
            alice$ rm {d}/t/small
            alice$ rm -r {d}/t/dir
            alice$ rm -r {d}/t/private
            alice$ rm {d}/t/private/secret
            alice$ rm -f {d}/t/private/secret
        """, changes=False)

    def test_mv(self):
        self.same("""
            mv {d}/t/small {d}/t/smaller
            mv {d}/t/small {d}/t/dir
            mv {d}/t/small {d}/t/dir/
            mv {d}/t/small {d}/t/text {d}/t/dir
            mv {d}/t/small {d}/nope {d}/t/text {d}/t/dir
            mv {d}/t/dir {d}/t/hollow
            mv {d}/t/dir {d}/t/newdir
            mv {d}/t/dir/* {d}/t/hollow
            mv {d}/t/s* {d}/t/renamed
            mv {d}/t/small {d}/t/h*
            mv {d}/t/größe {d}/t/with_space_too
            mv {d}/t/dir/a {d}/t/small
            mv {d}/t/small {d}/t/dir;mv {d}/t/dir/small {d}/t;ls {d}/t
            mv {d}/t/dir/a {d}/t/alices;mv {d}/t/alices/a {d}/t/dir/a
        """, changes=True)
        self.same("""
            mv {d}/nope {d}/x
            mv {d}/nope {d}/t
            mv {d}/nope* {d}/t
            mv {d}/t/small {d}/t/text
            mv {d}/t/small {d}/t/small
            mv {d}/t/small {d}/t
            mv {d}/t/small {d}/nope/x
            mv {d}/t/small {d}/nope/x/
            mv {d}/t/small {d}/new/
            mv {d}/t/dir {d}/new/
            mv {d}/t/small {d}/t/text/x
            mv {d}/t/dir {d}/t/dir
            mv {d}/t/dir {d}/t/dir/sub
            mv {d}/t/dir {d}/t/dir/sub/x
            mv / {d}
            mv {d}/t/small {d}/t/text {d}/nope
            mv {d}/t/small {d}/t/text {d}/t/empty
            mv {d}/t/small {d}/t/nope*
            mv {d}/t/small {d}/t/d* {d}/t/*
            mv {d}/t/small {d}/t/*
            mv {d}/t
            mv
            mv -f {d}/t/small {d}/x
            alice$ mv {d}/t/small {d}/t/x
            alice$ mv {d}/t/private/inner {d}/t/open
            alice$ mv {d}/t/open/f {d}/t/dir
            alice$ mv {d}/t/alices/f {d}/t/private
        """, changes=False)

    def test_setrep(self):
        self.same("""
            setrep 2 {d}/t/small
            setrep 2 {d}/t/small {d}/nope {d}/t/text
            setrep -R 1 {d}/t/dir
            setrep 1 {d}/t/dir
            setrep 2 {d}/t/hollow
            setrep 4 {d}/t/{small,text}
            alice$ setrep 2 {d}/t/alices
        """, changes=True)
        self.same("""
            setrep 2 {d}/nope
            setrep 0 {d}/t/small
            setrep x {d}/t/small
            setrep 99999 {d}/t/small
            setrep 600 {d}/t/small
            setrep 2
            setrep
            setrep -1 {d}/t/small
            setrep 2 {d}/nope*
            alice$ setrep 2 {d}/t/small
            alice$ setrep 2 {d}/t/private/secret
        """, changes=False)

    def test_chmod(self):
        modes = ["644", "0750", "1777", "000", "+644", "u+x", "go-rx", "a+rw,o-w", "+x", "+w", "-w", "-rx", "=r",
                 "u=x,g=w", "u+x,,", "u+x,_g+w", "a+X", "+X", "u-x,+X", "=X", "g=rX", "+t", "-t", "o+t", "u+t", "=t", "o=rt",
                 "o=x", "u++x", "u+-x", "u-w,g+rw,+x", "a=rw,u+x", "ug-t", "a=rwx"]
        for mode in modes:
            # On a plain file, a directory and a directory with the sticky bit.
            self.same(f"chmod {mode} {{d}}/t/small {{d}}/t/dir {{d}}/t/open;"
                      f"stat %a_%A {{d}}/t/small {{d}}/t/dir {{d}}/t/open", changes=False)
            Comparison.trees_are_new = False
        self.same("""
            chmod -R 700 {d}/t
            chmod -R a+X {d}/t/dir
            chmod -R go-rwx,u+x {d}/t/dir {d}/t/größe
            chmod 644 {d}/t/dir/*
            chmod 644 {d}/t/small {d}/nope {d}/t/text
            alice$ chmod -R 777 {d}/t/alices
            alice$ chmod 755 {d}/t/small {d}/t/alices/f
            alice$ chmod -R 777 {d}/t
            alice$ chmod -R u+x {d}/t/private {d}/t/alices
        """, changes=True)
        self.same("""
            chmod 644 {d}/nope
            chmod -R 644 {d}/nope
            chmod 644 {d}/nope*
            chmod 99 {d}/t/small
            chmod abc {d}/t/small
            chmod 77777 {d}/t/small
            chmod 4755 {d}/t/small
            chmod 7 {d}/t/small
            chmod u+s {d}/t/small
            chmod u=g {d}/t/small
            chmod go= {d}/t/small
            chmod u+rwx-w {d}/t/small
            chmod '' {d}/t/small
            chmod 644
            chmod
            alice$ chmod 777 {d}/t/small
            alice$ chmod 777 {d}/t/private/secret
            alice$ chmod -R 777 {d}/t/private
        """, changes=False)

    def test_chown(self):
        self.same("""
            chown alice {d}/t/small
            chown alice:staff {d}/t/small {d}/t/dir
            chown :bob {d}/t/small
            chown bob: {d}/t/small
            chown -R bob:bob {d}/t
            chown carol {d}/t/small {d}/nope {d}/t/text
            chown a+b:c/d {d}/t/small
            chown alice@EXAMPLE.COM:st_aff-1.2 {d}/t/small
            chown _alice {d}/t/dir/*
            alice$ chown :alice {d}/t/alices/f
            alice$ chown alice {d}/t/alices/f
        """.replace("_aff", "!aff").replace("_", " ").replace("!aff", "_aff").replace("chown  alice", "chown _alice"),
            changes=True)
        self.same("""
            chown : {d}/t/small
            chown '' {d}/t/small
            chown a#b {d}/t/small
            chown root:supergroup:x {d}/t/small
            chown a$:b {d}/t/small
            chown größe {d}/t/small
            chown alice {d}/nope
            chown alice {d}/nope*
            chown alice
            chown
            alice$ chown bob {d}/t/small
            alice$ chown bob {d}/t/alices/f
            alice$ chown :bob {d}/t/alices/f
            alice$ chown -R alice {d}/t/private
            alice$ chown alice {d}/t/private/secret
        """, changes=False)


class Getting(Comparison):
    def test_get(self):
        self.same("""
            get {d}/t/small
            get {d}/t/small .
            get {d}/t/small x
            get {d}/t/blocks {d}/t/empty .
            get {d}/t/dir
            get {d}/t/dir x
            get {d}/t/dir x;get {d}/t/dir x;get {d}/t/dir x
            get {d}/t/dir x;get -f {d}/t/dir x;get -f {d}/t/dir x
            get {d}/t/small x;get {d}/t/small x
            get {d}/t/small x;get {d}/t/text x;get -f {d}/t/text x
            get {d}/t/small x;get {d}/t/small x/y
            get {d}/t/small x;get {d}/t/dir x
            get {d}/t/dir x;get {d}/t/small {d}/t/nope {d}/t/text x
            get {d}/t/dir x;get {d}/t/small x/;get {d}/t/small x
            get {d}/t/dir/* .
            get {d}/t/s* x
            get {d}/t/größe/ü {d}/t/with_space .
            get {d}/t/back* .
            get {d}/t/hollow
            get -ignoreCrc {d}/t/small x
            get {d}/t x
            get {d}/nope
            get {d}/nope x
            get {d}/nope*
            get {d}/t/small nodir/x
            get {d}/t/small nodir/
            get {d}/t/dir nodir/x
            get {d}/t/dir nodir/
            get {d}/t/dir nodir
            get {d}/t/small {d}/t/text nodir
            get {d}/t/* nodir
            get {d}/t/small x;get {d}/t/small {d}/t/text x
            get {d}/t/small /dev/null/x
            get {d}/t/small ''
            get
            get -x {d}/t/small
            alice$ get {d}/t/dir/b
            alice$ get {d}/t/dir
            alice$ get {d}/t/private
            alice$ get {d}/t/private/secret x
            alice$ get {d}/t .
        """, changes=False)


# Of what is put: a size, or None for a directory.
LOCAL_FILES = {"one": 12, "two": 4053, "empty": 0, "blocks": 2500000, "tree/a": 12, "tree/sub/b": 2500000, "tree/sub/c": 0,
               "tree/hollow": None, "größe/ü": 12, "with space/x y": 12, "dir/a": 5, "over/dir/sub": 12, "[x]*": 12}


class Writing(Comparison):
    def renew(self):
        super().renew()
        for program in PROGRAMS:
            for name, size in LOCAL_FILES.items():
                path = os.path.join(program.local, name)
                os.makedirs(path if size is None else os.path.dirname(path), exist_ok=True)
                if size is not None:
                    with open(path, "wb") as file:
                        file.write(content_of(size))
            os.symlink("one", os.path.join(program.local, "link"))
            os.symlink("nowhere", os.path.join(program.local, "tree/dangling"))

    def test_put(self):
        self.same("""
            put one {d}
            put one {d}/t/
            put one {d}/new
            put one two empty blocks {d}/t
            put one nope two {d}/t
            put one {d}/t/small two
            put tree {d}
            put tree/ {d}/t/
            put tree {d}/new
            put tree größe over {d}/t/hollow
            put . {d}/new
            put tree/sub/.. {d}
            put tree/../one {d}
            put tree {d};put -f tree {d}
            put -f one {d}/t/small
            put -f one two {d}/t;put -f two {d}/t/one
            put one {d}/t/d*
            put link {d}
            put -d one {d}
            put - {d}/new
            put - {d}
            put -f - {d}/t/small
            put - {d}/nope/x
            put - {d}/nope/y/z/
            put - {d}/new/
            put dir {d}/t/hollow
            put dir {d}/t
            put -f dir {d}/t
            put -f over/dir {d}/t
            -D dfs.replication=2 put one {d}
            alice$ put one {d}/t/alices
            alice$ put one {d}/t/alices {d}/t/open
            alice$ put tree {d}/t/open
        """, changes=True)
        self.same("""
            put one {d}/t/small
            put one {d}/t/dir/a
            put one {d}/nope/x
            put one {d}/nope/x/
            put one {d}/new/
            put tree {d}/new/
            put tree {d}/nope/x
            put one {d}/t/small/
            put one {d}/t/small/x
            put tree {d}/t/small
            put -f tree {d}/t/small
            put nope {d}
            put nope nope2 {d}
            put nope {d}/nope
            put tree/dangling {d}
            put nope/x {d}
            put one/x {d}
            put one two {d}/nope
            put one two {d}/t/small
            put -f one two {d}/t/small
            put one - {d}/t/small
            put one {d}/{t,u}
            put one {d}/t/{dir,open}
            put one {d}/nope*
            put - {d}/t/small
            put one
            put
            put -x one {d}
            put '' {d}
            put one ''
            -D dfs.replication=0 put one {d}
            -D dfs.replication=600 put one {d}
            -D dfs.replication=x put one {d}
            -D dfs.blocksize=abc put one {d}
            -D dfs.blocksize=1mb put one {d}
            -D dfs.bytes-per-checksum=3k put one {d}
            alice$ put one {d}
            alice$ put tree {d}
            alice$ put one {d}/t/private
            alice$ put one {d}/t/private/x
            alice$ put -f one {d}/t/small
            alice$ put -f blocks {d}/t/small
            alice$ put empty {d}
            nobody$ put one
        """, changes=False)

    def test_moveFromLocal(self):
        self.same("""
            moveFromLocal one {d}
            moveFromLocal one two empty {d}/t/dir
            moveFromLocal one nope two {d}
            moveFromLocal -f one {d}/t/small
            moveFromLocal dir {d}
            moveFromLocal größe over {d}/new
            moveFromLocal größe over {d}
            moveFromLocal link {d}
        """, changes=True)
        self.same("""
            moveFromLocal one {d}/t/small
            moveFromLocal dir {d}/t
            moveFromLocal -f dir {d}/t
            moveFromLocal nope {d}
            moveFromLocal one {d}/nope/x
            moveFromLocal
            moveFromLocal -x one {d}
            alice$ moveFromLocal one {d}
            alice$ moveFromLocal größe {d}
        """, changes=False)

    def test_cp(self):
        self.same("""
            cp {d}/t/small {d}/t/smaller
            cp {d}/t/small {d}/t/dir
            cp {d}/t/small {d}/t/dir/
            cp {d}/t/small {d}/t/text {d}/t/dir
            cp {d}/t/small {d}/nope {d}/t/text {d}/t/dir
            cp {d}/t/blocks {d}/t/empty {d}/t/k1 {d}/t/hollow
            cp {d}/t/dir/b {d}
            cp {d}/t/dir {d}/t/hollow
            cp {d}/t/dir {d}/new
            cp {d}/t/dir {d}/t/größe {d}/t/with_space {d}/t/hollow
            cp {d}/t/private {d}
            cp {d}/t/dir {d}/new;cp {d}/t/dir {d}/new;cp {d}/t/dir {d}/new;cp -f {d}/t/dir {d}/new
            cp {d}/t/dir/* {d}/t/hollow
            cp {d}/t/small {d}/t/h*
            cp -f {d}/t/blocks {d}/t/small
            cp -f {d}/t/small {d}/t/blocks
            cp -f {d}/t/small {d}/t/small
            cp -f {d}/t/small {d}/t
            cp -d {d}/t/small {d}
            cp {d}/t {d}/u
            -D dfs.replication=2 cp {d}/t/k1 {d}
            alice$ cp {d}/t/small {d}/t/alices
            alice$ cp {d}/t/dir {d}/t/alices
            alice$ cp {d}/t/dir/a {d}/t/dir/b {d}/t/dir/c {d}/t/open
        """, changes=True)
        self.same("""
            cp {d}/t/small {d}/t/text
            cp {d}/t/small {d}/t/small
            cp {d}/t/small {d}/t
            cp {d}/t/small {d}/nope/x
            cp {d}/t/small {d}/new/
            cp {d}/t/dir {d}/new/
            cp {d}/t/dir {d}/nope/x
            cp {d}/t/small {d}/t/text/x
            cp {d}/t/dir {d}/t/small
            cp -f {d}/t/dir {d}/t/small
            cp {d}/t/dir {d}/t/dir
            cp {d}/t/dir {d}/t/dir/sub
            cp {d}/t/dir {d}/t/dir/sub/x
            cp -f {d}/t/dir {d}/t/dir
            cp / {d}
            cp {d}/nope {d}/x
            cp {d}/nope* {d}
            cp {d}/t/small {d}/t/text {d}/nope
            cp {d}/t/small {d}/t/text {d}/t/empty
            cp {d}/t/small {d}/t/nope*
            cp {d}/t/small {d}/t/*
            cp {d}/t
            cp
            cp -x {d}/t/small {d}/x
            cp '' {d}/x
            cp {d}/t/small ''
            alice$ cp {d}/t/small {d}/x
            alice$ cp {d}/t/empty {d}/x
            alice$ cp {d}/t/private/secret {d}/t/open
            alice$ cp {d}/t/dir/b {d}/t/open
            alice$ cp {d}/t/private {d}/t/open
            alice$ cp {d}/t/small {d}/t/private
            alice$ cp -f {d}/t/small {d}/t/open/f
            alice$ cp -f {d}/t/small {d}/t/text
        """, changes=False)

    def test_touchz(self):
        self.same("""
            touchz {d}/new
            touchz {d}/new1 {d}/t/small {d}/new2 {d}/nope/x
            touchz {d}/t/empty
            touchz {d}/t/{empty,small}
            touchz {d}/größe {d}/with_space
            -D dfs.replication=2 touchz {d}/new
            alice$ touchz {d}/t/open/new {d}/new {d}/t/alices/new
        """, changes=True)
        self.same("""
            touchz {d}/t/small
            touchz {d}/t
            touchz /
            touchz {d}/nope/x
            touchz {d}/new/
            touchz {d}/t/small/x
            touchz {d}/t/empty/
            touchz {d}/nope*
            touchz ''
            touchz
            touchz -x {d}/new
            alice$ touchz {d}/new
            alice$ touchz {d}/t/empty
            alice$ touchz {d}/t/private/x
            alice$ touchz {d}/t/private/secret
        """, changes=False)


def marrowby(*arguments, **options):
    return subprocess.run(["marrowby", *arguments], capture_output=True, text=True, stdin=subprocess.DEVNULL, **options)


class MeantDifferences(Comparison):
    """Where marrowby does more than `hdfs dfs`, or says no where it cannot do the same."""

    def test_get_to_a_dash_is_standard_output(self):
        self.renew()
        done = marrowby("get", MARROWBY.tree + "/t/small", "-", cwd=MARROWBY.local)
        self.assertEqual((done.returncode, done.stdout), (0, "12 bytes of "))
        self.assertEqual(os.listdir(MARROWBY.local), [])

    def test_names_here_are_taken_as_they_are(self):
        self.renew()
        Comparison.trees_are_new = False
        for name in ("with space", "[x]*", "100%25"):
            with open(os.path.join(MARROWBY.local, name), "w") as file:
                file.write(name)
            done = marrowby("put", name, MARROWBY.tree, cwd=MARROWBY.local)
            self.assertEqual((done.returncode, done.stderr), (0, ""), name)
        names = [entry[0] for entry in Rest().entries(MARROWBY.tree)]
        for name in ("with space", "[x]*", "100%25"):
            self.assertIn(name, names)

    def test_properties_may_stand_behind_the_command(self):
        self.renew()
        Comparison.trees_are_new = False
        path = MARROWBY.tree + "/new"
        done = marrowby("touchz", path, "-D", "dfs.replication=2", "-Ddfs.blocksize=64k")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(hdfs("-stat", "%r %o", path), "2 65536\n")

    def test_block_sizes_that_the_plug_in_cannot_write_are_refused(self):
        self.renew()
        for size in ("512", "1000", "4g"):
            done = marrowby("-D", "dfs.blocksize=" + size, "touchz", MARROWBY.tree + "/new")
            self.assertEqual(done.returncode, 255)
            self.assertIn("-touchz: Invalid values: dfs.blocksize (=", done.stderr)

    def test_options_may_be_joined_and_stand_behind_paths(self):
        self.renew()
        apart = marrowby("ls", "-R", "-h", MARROWBY.tree)
        self.assertEqual(apart.returncode, 0)
        self.assertEqual(marrowby("ls", "-Rh", MARROWBY.tree).stdout, apart.stdout)
        self.assertEqual(marrowby("ls", MARROWBY.tree, "-R", "-h").stdout, apart.stdout)
        self.assertEqual(marrowby("-ls", "-R", "-h", MARROWBY.tree).stdout, apart.stdout)

    def test_waiting_for_a_replication_is_declined_after_setting_it(self):
        self.renew()
        Comparison.trees_are_new = False
        path = MARROWBY.tree + "/t/small"
        done = marrowby("setrep", "-w", "2", path)
        self.assertEqual((done.returncode, done.stdout), (1, f"Replication 2 set: {path}\n"))
        self.assertTrue(done.stderr.startswith("setrep: not waiting (-w): "), done.stderr)
        self.assertEqual(hdfs("-stat", "%r", path), "2\n")

    def test_get_with_attributes_does_not_fail_over_names_that_this_machine_does_not_know(self):
        self.renew()
        done = marrowby("get", "-p", MARROWBY.tree + "/t/alices", "x", cwd=MARROWBY.local)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        done = marrowby("get", "-p", MARROWBY.tree + "/t/text", MARROWBY.tree + "/t/open", ".", cwd=MARROWBY.local)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        text = os.stat(os.path.join(MARROWBY.local, "text"))
        self.assertEqual(oct(text.st_mode & 0o7777), "0o644")
        self.assertEqual(int(text.st_mtime), int(hdfs("-stat", "%Y", MARROWBY.tree + "/t/text")) // 1000)
        self.assertEqual(oct(os.stat(os.path.join(MARROWBY.local, "open")).st_mode & 0o7777), "0o1777")


if __name__ == "__main__":
    missing = [name for name in ("hdfs", "marrowby") if not shutil.which(name)]
    if missing or not NAMENODE:
        sys.exit("this needs the environment that ./run --exec prepares" + "".join(f"; no {name}" for name in missing))
    unittest.main()
