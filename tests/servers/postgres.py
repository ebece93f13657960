#!/usr/bin/env python3
"""postgres.py REPORT_TESTS: the tests of the history against a real server.

Starts a PostgreSQL server of its own, as an ordinary user, in a folder of its own and on a socket alone. Exit
code 77, with the reason, where none is installed.
"""
import glob
import os
import pwd
import shutil
import subprocess
import sys
import tempfile

DATABASES = 8


def skip(reason):
    print("skipped: " + reason)
    sys.exit(77)


def main():
    tests = os.path.abspath(sys.argv[1])
    found = sorted(glob.glob("/usr/lib/postgresql/*/bin/initdb"))
    initdb = found[-1] if found else shutil.which("initdb")
    if initdb is None:
        skip("there is no initdb (postgresql)")
    programs = os.path.dirname(initdb)
    folder = tempfile.mkdtemp(prefix="tazpg")
    user = {}
    if os.geteuid() == 0:  # which the server refuses to be
        try:
            account = pwd.getpwnam("postgres")
        except KeyError:
            account = pwd.getpwnam("nobody")
        user = {"user": account.pw_uid, "group": account.pw_gid, "extra_groups": []}
        os.chown(folder, account.pw_uid, account.pw_gid)
    os.chmod(folder, 0o755)

    def run(program, *words):
        done = subprocess.run([os.path.join(programs, program), *words], cwd=folder, capture_output=True,
                              text=True, timeout=120, env={"PATH": os.environ["PATH"], "LC_ALL": "C"}, **user)
        if done.returncode != 0:
            raise SystemExit(f"{program}: {done.stdout}{done.stderr}")

    data = folder + "/data"
    try:
        run("initdb", "-D", data, "-A", "trust", "-U", "tazmet", "--no-sync", "-E", "UTF8")
        run("pg_ctl", "-D", data, "-w", "-l", folder + "/log", "-o",
            f"-c listen_addresses= -c unix_socket_directories={folder} -c fsync=off", "start")
        try:
            for number in range(DATABASES):
                run("createdb", "-h", folder, "-U", "tazmet", f"history{number}")
            environment = dict(os.environ,
                               TAZMET_HISTORY_DATABASES=f"postgresql://tazmet@/history%?host={folder}")
            tested = subprocess.run([tests, "--gtest_filter=History.*"], env=environment, timeout=300)
            sys.exit(tested.returncode)
        finally:
            run("pg_ctl", "-D", data, "-w", "-m", "fast", "stop")
    finally:
        shutil.rmtree(folder, ignore_errors=True)


main()
