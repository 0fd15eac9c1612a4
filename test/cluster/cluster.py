"""A Ceph cluster of one monitor and three stores on the loopback interface, in a folder."""

import json
import os
import pathlib
import shutil
import socket
import subprocess
import time
import uuid

STORES = (0, 1, 2)
POOL = "boards"
SPACE = "test"
LOCK = ("rados", "-p", POOL, "-N", SPACE, "lock")
LOCK_NAME = "striper.lock"
# A store is gone after GRACE seconds without a sign of life; the pool takes writes while two are there.
# The monitor decides at once instead of once per second, so that tests take less time.
GRACE = 4
CONFIGURATION = """\
[global]
fsid = {fsid}
mon host = {monitor}
mon initial members = a
public addr = 127.0.0.1
cluster addr = 127.0.0.1
auth cluster required = none
auth service required = none
auth client required = none
run dir = {folder}
crash dir = {folder}
log file = {folder}/$name.log
mon cluster log file = {folder}/cluster.log
admin socket =
pid file =
ms bind port min = 20000
ms bind port max = 30000
osd crush chooseleaf type = 0
osd pool default size = 3
osd pool default min size = 2
osd pool default pg autoscale mode = off
mon data avail crit = 1
mon osd down out interval = 600
mon osd min down reporters = 1
mon osd adjust heartbeat grace = false
osd heartbeat grace = {grace}
osd heartbeat interval = 1
[mon]
mon data = {folder}/mon.$id
paxos propose interval = 0.1
[osd]
osd data = {folder}/osd.$id
osd objectstore = bluestore
bluestore cache autotune = false
bluestore cache size = 67108864
bluestore block size = 2147483648
osd class load list = *
osd class default list = *
[client]
log file = {folder}/client.log
"""


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


def wait_until(condition, what, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(f"{what}: not within {seconds} s")
        time.sleep(0.1)


class Cluster:
    """Its daemons end with this process, however that ends."""

    def __init__(self, folder, programs):
        """The folder is emptied. `programs` is where the project was built."""
        self.folder = pathlib.Path(folder).resolve()
        self.programs = pathlib.Path(programs).resolve()
        self.daemons = {}
        self._monitor = f"[v2:127.0.0.1:{free_port()}/0]"
        # Nothing of a cluster that this machine may know.
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith("CEPH_")}
        self.environment["CEPH_CONF"] = str(self.folder / "ceph.conf")

    def __enter__(self):
        try:
            self._make()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self.kill(*self.daemons)
        shutil.rmtree(self.folder / "mon.a", ignore_errors=True)
        for store in STORES:
            shutil.rmtree(self.folder / f"osd.{store}", ignore_errors=True)

    def preloaded(self, mode="", arguments=""):
        """The environment of a program that reaches the cluster. `arguments` are Ceph's."""
        return self.environment | {
            "LD_PRELOAD": str(self.programs / "test/libcluster_vfs.so"),
            "CEPH_VFS": mode, "CEPH_ARGS": arguments}

    def uri(self, name):
        return f"file:///{POOL}:{SPACE}/{name}?vfs=ceph"

    def kill(self, *names):
        """Monitor ("mon") and stores (their numbers), all at once."""
        for name in names:
            self.daemons[name].kill()
        for name in names:
            self.daemons.pop(name).wait()

    def start(self, *names):
        for name in names:
            which = ["ceph-mon", "-i", "a"] if name == "mon" else ["ceph-osd", "-i", str(name)]
            with open(self.folder / f"{name}.out", "ab") as output:
                self.daemons[name] = subprocess.Popen(
                    ["setpriv", "--pdeathsig", "KILL", *which, "-f"], env=self.environment,
                    stdin=subprocess.DEVNULL, stdout=output, stderr=output)

    def wait_for_stores(self):
        wait_until(lambda: json.loads(self._run("ceph", "osd", "stat", "-f", "json"))
                   ["num_up_osds"] == len(STORES), "all stores are up")
        self._run("rados", "-p", POOL, "put", "ready", "/dev/null")

    def break_lock(self, name):
        """What a supervisor does when it knows that a writer is dead: the next one need not wait
        for the lock to expire. The dead one is shut out first, in case it is alive."""
        pieces = [f"{name}{suffix}.{0:016x}" for suffix in ("", "-journal", "-wal")]
        found = [(piece, locker) for piece in pieces for locker in self._lockers(piece)]
        for address in {locker["addr"] for _, locker in found}:
            self._run("ceph", "osd", "blocklist", "add", address, "3600")
        for piece, locker in found:
            try:
                self._run(*LOCK, "break", piece, LOCK_NAME, locker["name"],
                          "--lock-cookie", locker["cookie"])
            except RuntimeError:
                if locker in self._lockers(piece):  # otherwise it has just expired
                    raise

    def _lockers(self, piece):
        found = subprocess.run([*LOCK, "info", piece, LOCK_NAME], env=self.environment,
                               capture_output=True, text=True, timeout=60, check=False)
        return json.loads(found.stdout)["lockers"] if found.returncode == 0 else []

    def _make(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        for name in ("mon.a", *(f"osd.{store}" for store in STORES)):
            (self.folder / name).mkdir(parents=True)
        fsid = str(uuid.uuid4())
        (self.folder / "ceph.conf").write_text(CONFIGURATION.format(
            fsid=fsid, monitor=self._monitor, folder=self.folder, grace=GRACE))
        monitors = str(self.folder / "monitors")
        self._run("monmaptool", "--create", "--fsid", fsid, "--addv", "a", self._monitor, monitors)
        self._run("ceph-mon", "--mkfs", "-i", "a", "--monmap", monitors)
        self.start("mon")
        stores = {store: str(uuid.uuid4()) for store in STORES}
        self._command(*(f"osd new {fsid}" for fsid in stores.values()),
                      *(f"osd crush add osd.{store} 1.0 root=default host=h" for store in STORES))
        made = [subprocess.Popen(["ceph-osd", "--mkfs", "-i", str(store), "--osd-uuid", fsid],
                                 env=self.environment, stderr=subprocess.DEVNULL)
                for store, fsid in stores.items()]
        if any(process.wait() for process in made):
            raise RuntimeError(f"the stores cannot be made; see {self.folder}")
        self.start(*STORES)
        self._command(f"osd pool create {POOL} 8")
        self.wait_for_stores()

    def _command(self, *lines):
        """One `ceph`, which takes long to start, for several commands."""
        self._run("ceph", input="\n".join(lines))

    def _run(self, *command, **options):
        done = subprocess.run(command, env=self.environment, capture_output=True, text=True,
                              timeout=60, check=False, **options)
        if done.returncode:
            raise RuntimeError(f"{' '.join(command)}: {done.stderr or done.stdout}")
        return done.stdout
