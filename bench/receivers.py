"""A mail server, and who fetches from it: our own program and mpop. Every fetch is told with what the disk took
of it and the most memory that the receiver held."""

import json
import os
import shutil
import subprocess
import time


def private(path, flags):
    """Opens a file that only its owner reads."""
    return os.open(path, flags, 0o600)


class MailServer:
    """bench-mailserver: a Dovecot for as long as this is entered."""

    def __init__(self, build):
        self.build = build

    def __enter__(self):
        self.process = subprocess.Popen([f'{self.build}/bench/bench-mailserver'], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        told = self.process.stdout.readline().split(' ', 2)
        if len(told) != 3:
            raise RuntimeError('the mail server does not start')
        self.port, self.tls_port, self.ca_file = told[0], told[1], told[2].strip()
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()

    def ask(self, *words):
        """Gives an order; the number of messages that are in the mailbox then."""
        self.process.stdin.write(' '.join(str(word) for word in words) + '\n')
        self.process.stdin.flush()
        return int(self.process.stdout.readline())


class Fetch:
    """One run of a receiver: seconds, syncs, seconds in syncs, peak memory in bytes, what it printed."""

    def __init__(self, build, scratch, command):
        record = f'{scratch}/syncs'
        environment = dict(os.environ, LC_ALL='C.UTF-8', LD_PRELOAD=f'{build}/bench/libbench_syncs.so',
                           BENCH_SYNCS=record)
        with open(f'{scratch}/output', 'w+') as output:
            start = time.monotonic()
            process = subprocess.Popen(command, stdout=output, stderr=output, env=environment)
            _, status, usage = os.wait4(process.pid, 0)
            self.seconds = time.monotonic() - start
            process.returncode = os.waitstatus_to_exitcode(status)
            output.seek(0)
            self.output = output.read()
        if process.returncode != 0:
            raise RuntimeError(f'{" ".join(command)}: {self.output or process.returncode}')
        with open(record) as file:
            count, seconds = file.read().split()
        self.syncs, self.sync_seconds = int(count), float(seconds)
        self.memory = usage.ru_maxrss * 1024


class Receiver:
    """Somebody who fetches all of a mailbox from scratch, into a place of its own, and leaves it on the server."""

    def __init__(self, build, scratch, server, user):
        self.build, self.scratch, self.server, self.user = build, scratch, server, user
        os.makedirs(scratch, exist_ok=True)

    def fetch(self, expected):
        self.prepare()
        done = Fetch(self.build, self.scratch, self.command())
        if self.received(done) != expected:
            raise RuntimeError(f'{self.name} did not fetch everything: {done.output}')
        return done


class Velmar(Receiver):
    name = 'Velmar'

    def prepare(self):
        """An empty store with one account in it."""
        self.store = f'{self.scratch}/store'
        shutil.rmtree(self.store, ignore_errors=True)
        os.mkdir(self.store, 0o700)
        password = f'{self.scratch}/password'
        with open(password, 'w', opener=private) as file:
            file.write('secret\n')
        subprocess.run([f'{self.build}/velmar-cli', '--config', self.store, 'account', 'add', '--kind', 'pop3',
                        '--name', 'Box', '--host', '127.0.0.1', '--port', self.server.port, '--tls', 'none',
                        '--user', self.user, '--password-file', password, '--leave-on-server'],
                       check=True, stdout=subprocess.DEVNULL)

    def command(self):
        return [f'{self.build}/velmar-cli', '--config', self.store, '--json', 'fetch', 'Box']

    @staticmethod
    def received(done):
        return json.loads(done.output.splitlines()[-1])['received']


class Mpop(Receiver):
    name = 'mpop'

    def prepare(self):
        """An empty Maildir."""
        self.maildir = f'{self.scratch}/maildir'
        shutil.rmtree(self.maildir, ignore_errors=True)
        for part in ('cur', 'new', 'tmp'):
            os.makedirs(f'{self.maildir}/{part}')
        known = f'{self.scratch}/known'
        if os.path.exists(known):
            os.remove(known)
        self.settings = f'{self.scratch}/settings'
        with open(self.settings, 'w', opener=private) as file:
            file.write(f'account box\nhost 127.0.0.1\nport {self.server.port}\ntls off\nauth user\n'
                       f'user {self.user}\npassword secret\nkeep on\nuidls_file {known}\n'
                       f'delivery maildir {self.maildir}\n')

    def command(self):
        return ['mpop', '--file', self.settings, '--quiet', 'box']

    def received(self, _):
        return len(os.listdir(f'{self.maildir}/new'))
