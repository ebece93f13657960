#!/usr/bin/env python3
"""slurm.py TAZMET TAZREPORT ARRAY_SCRIPT: a run as a job array of a real cluster of one node.

Starts munged, slurmctld and slurmd of this machine in a folder of their own, submits the script of
docs/cluster.md, requeues a task that is being measured, and asks of the merged file that its rows are those of
a run without parts, each once. Exit code 77, with the reason, where a cluster cannot be started.
"""
import collections
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

KEYS = ["-B", "-fYCbCr", "-dImageSize=64x64;96x64", "-dMethod=Spread", "-b0.3"]
PARTS = 4
CONFIGURATION = """ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmUser={user}
SlurmdUser={user}
SlurmctldPort={port}
SlurmdPort={node_port}
AuthType=auth/munge
AuthInfo=socket={folder}/munge.sock,cred_expire=5
CredType=cred/munge
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
SlurmctldLogFile={folder}/slurmctld.log
SlurmdLogFile={folder}/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
ReturnToService=2
SelectType=select/cons_res
SelectTypeParameters=CR_CPU
JobAcctGatherType=jobacct_gather/none
SchedulerParameters=batch_sched_delay=1,sched_interval=1
NodeName={host} NodeAddr=127.0.0.1 CPUs={processors} State=UNKNOWN
PartitionName=all Nodes={host} Default=YES MaxTime=INFINITE State=UP
"""


def skip(reason):
    print("skipped: " + reason)
    sys.exit(77)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Cluster:
    """Daemons that this process started, and ends."""

    def __init__(self, folder):
        self.folder = folder
        self.daemons = []
        self.environment = dict(os.environ, SLURM_CONF=folder + "/slurm.conf",
                                PATH=os.environ["PATH"] + ":/usr/sbin:/sbin")
        for name in ("state", "spool"):
            os.mkdir(f"{folder}/{name}")
        with open(folder + "/munge.key", "wb") as key:
            key.write(os.urandom(128))
        os.chmod(folder + "/munge.key", 0o600)
        host = socket.gethostname().split(".")[0]
        with open(folder + "/slurm.conf", "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(host=host, user=os.environ.get("USER", "root"), folder=folder,
                                            port=free_port(), node_port=free_port(),
                                            processors=os.cpu_count()))
        self.start("munged", "-F", "--force", "--num-threads=1",
                   *(f"--{what}={folder}/munge.{end}" for what, end in
                     (("socket", "sock"), ("key-file", "key"), ("log-file", "log"), ("pid-file", "pid"),
                      ("seed-file", "seed"))))
        self.wait(lambda: os.path.exists(folder + "/munge.sock"), "munged")
        self.start("slurmctld", "-D")
        self.start("slurmd", "-D", "-N", host)
        self.wait(lambda: "idle" in self.run("sinfo", "-h", "-o", "%t", check=False), "the node")

    def start(self, *words):
        with open(f"{self.folder}/{words[0]}.out", "w", encoding="utf-8") as out:
            self.daemons.append(subprocess.Popen(words, stdout=out, stderr=out, env=self.environment))

    def run(self, *words, check=True, cwd=None):
        done = subprocess.run(words, env=self.environment, capture_output=True, text=True, cwd=cwd,
                              timeout=300)
        if check and done.returncode != 0:
            raise SystemExit(f"{words}: {done.stdout}{done.stderr}")
        return done.stdout

    def wait(self, condition, what, seconds=60):
        end = time.time() + seconds
        while not condition():
            if time.time() > end:
                self.stop()
                skip(what + " did not come up")
            time.sleep(0.1)

    def stop(self):
        for daemon in reversed(self.daemons):
            daemon.send_signal(signal.SIGTERM)
            try:
                daemon.wait(20)
            except subprocess.TimeoutExpired:
                daemon.kill()
        self.daemons = []


def rows_of(path):
    """How often each combination is in a file of JSON Lines."""
    counts = collections.Counter()
    with open(path, encoding="utf-8") as file:
        for line in file:
            if not line.endswith("\n"):
                continue
            row = json.loads(line)
            if row["type"] == "row":
                counts[row["function"], row["test"], json.dumps(row["parameters"])] += 1
    return counts


def wait_for(condition, what, seconds=120):
    end = time.time() + seconds
    while not condition():
        if time.time() > end:
            raise SystemExit("in vain: waited for " + what)
        time.sleep(0.05)


def main():
    tazmet, tazreport, script = map(os.path.abspath, sys.argv[1:4])
    path = os.environ["PATH"] + ":/usr/sbin:/sbin"
    for program in ("munged", "slurmctld", "slurmd", "sbatch", "scontrol"):
        if shutil.which(program, path=path) is None:
            skip(f"{program} is not installed (slurm-wlm, munge)")
    if os.geteuid() != 0:
        skip("the node's daemon wants to be root")
    with tempfile.TemporaryDirectory() as folder:
        os.chmod(folder, 0o755)
        cluster = Cluster(folder)
        try:
            check(cluster, folder, tazmet, tazreport, script)
        finally:
            cluster.stop()


def check(cluster, folder, tazmet, tazreport, script):
    results = folder + "/results"
    submitted = cluster.run("env", "TAZMET=" + tazmet, "TAZREPORT=" + tazreport, "PARTS=" + str(PARTS),
                            "RESULTS=" + results, script, *KEYS, cwd=folder)
    array, merge = submitted.split()[:2]
    part = results + "/part1.jsonl"
    # A task is ended, and run again, when it has some rows and not all.
    wait_for(lambda: os.path.exists(part) and sum(rows_of(part).values()) >= 2, "the first rows")
    cluster.run("scontrol", "requeue", array + "_1")
    cut = sum(rows_of(part).values())
    state = lambda job: cluster.run("scontrol", "show", "job", job, check=False)
    wait_for(lambda: "JobState=COMPLETED" in state(merge) or "JobState=FAILED" in state(merge),
             "the merged file", 240)
    log = "".join(open(os.path.join(results, name), encoding="utf-8", errors="replace").read()
                  for name in sorted(os.listdir(results)) if name.endswith(".log"))
    if "JobState=COMPLETED" not in state(merge):
        raise SystemExit("the merge failed:\n" + log[-4000:])
    # Which rows there are does not depend on how they are measured.
    cluster.run(tazmet, *KEYS, "-dMethod=Manual", "-dNumLoops=1", "-j", "whole.jsonl", "-l" + folder)
    whole, merged = rows_of(folder + "/whole.jsonl"), rows_of(results + "/run.jsonl")
    if whole != merged or len(whole) < 20:
        raise SystemExit(f"{len(whole)} rows in a whole run, {len(merged)} in the parts;"
                         f" {whole - merged} are missing, {merged - whole} are too many")
    with open(part, encoding="utf-8") as file:
        gaps = [json.loads(line).get("resumed") for line in file if '"type":"context"' in line]
    if len(gaps) != 2 or gaps[1] is None or not 2 <= gaps[1]["rows"] < sum(rows_of(part).values()):
        raise SystemExit(f"the task was not run again where it ended: {gaps}")
    print(f"{len(merged)} rows of {PARTS} tasks; one was ended with {cut} rows and went on with them")


main()
