"""A server that takes mail and keeps nothing, and who sends to it: our own client, Python's smtplib and msmtp."""

import mailbox
import os
import smtplib
import socket
import subprocess
import time

FROM, TO = 'ada@test.example', 'bob@test.example'
SINK = '/usr/sbin/smtp-sink'


class Sink:
    """smtp-sink of the package postfix for as long as this is entered."""

    def __enter__(self):
        with socket.socket() as free:
            free.bind(('127.0.0.1', 0))
            self.port = free.getsockname()[1]
        user = ['-u', 'nobody'] if os.getuid() == 0 else []
        self.process = subprocess.Popen([SINK, *user, f'127.0.0.1:{self.port}', '100'])
        for _ in range(1000):
            try:
                socket.create_connection(('127.0.0.1', self.port)).close()
                return self
            except ConnectionRefusedError:
                if self.process.poll() is not None:
                    break
                time.sleep(0.005)
        raise RuntimeError('the server that takes mail does not start')

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()


def write(directory, mbox, count):
    """Messages of the mailbox as files, and the same with the fields of the envelope that our queue has."""
    plain, ours = [], []
    os.makedirs(directory)
    for number, message in enumerate(mailbox.mbox(mbox, create=False)):
        if number == count:
            break
        text = message.as_bytes()
        for names, name, head in ((plain, 'plain', ''),
                                  (ours, 'ours', f'X-VELMAR-RCPT-TO: {TO}\nX-VELMAR-MAIL-FROM: {FROM}\n')):
            names.append(f'{directory}/{number}.{name}')
            with open(names[-1], 'wb') as file:
                file.write(head.encode() + text)
    return plain, ours


def by_smtplib(port, names):
    """Seconds; what is read and made ready before does not count, just as with us."""
    texts = []
    for name in names:
        with open(name, 'rb') as file:
            texts.append(file.read())
    start = time.monotonic()
    with smtplib.SMTP('127.0.0.1', port) as connection:
        for text in texts:
            connection.sendmail(FROM, [TO], text)
    return time.monotonic() - start


def by_smtplib_with_marks(port, names, journal):
    """The same with a note on the disk before and after each message: what must be known after a crash."""
    texts = []
    for name in names:
        with open(name, 'rb') as file:
            texts.append(file.read())
    start = time.monotonic()
    with smtplib.SMTP('127.0.0.1', port) as connection, open(journal, 'wb', buffering=0) as marks:
        for number, text in enumerate(texts):
            marks.write(f'sending {number}\n'.encode())
            os.fdatasync(marks.fileno())
            connection.sendmail(FROM, [TO], text)
            marks.write(f'sent {number}\n'.encode())
            os.fdatasync(marks.fileno())
    return time.monotonic() - start


def by_msmtp(port, names):
    """Seconds; one call for each message is how it is used."""
    command = ['msmtp', '--host=127.0.0.1', f'--port={port}', '--auth=off', '--tls=off', f'--from={FROM}', TO]
    start = time.monotonic()
    for name in names:
        with open(name, 'rb') as text:
            subprocess.run(command, stdin=text, check=True)
    return time.monotonic() - start
