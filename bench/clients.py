"""Starts mail programs on a virtual display and finds out when they are ready.

The same for each of them: the display keeps its picture in a file that is looked at every few milliseconds.
A program is ready when its picture has changed for the last time, that is, when what it shows is what it goes
on showing: afterwards it neither paints nor works for a while. Blinking cursors are off, the mail is the same,
every cache is warm, and the others do not have to find threads, which takes them much longer.
"""

import mailbox
import mmap
import os
import shutil
import subprocess
import tempfile
import time

CALM = 2.0  # seconds without a change and without work, after which there will be none
BUSY = 0.1  # share of a processor that is work
LONGEST = 600.0  # the first start of some reads every message
LOOK = 0.005


class Display:
    """A virtual display and the picture on it."""

    def __enter__(self):
        self.directory = tempfile.mkdtemp(prefix='velmar-display.')
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ['Xvfb', '-displayfd', str(write), '-screen', '0', '1280x900x24', '-fbdir', self.directory,
             '-nolisten', 'tcp'], pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as number:
            self.name = ':' + number.readline().strip()
        with open(f'{self.directory}/Xvfb_screen0', 'rb') as file:
            self.picture = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        return self

    def __exit__(self, *_):
        self.server.terminate()
        self.server.wait()
        self.picture.close()
        shutil.rmtree(self.directory)

    def start(self, program, keep=None):
        """Seconds until the program is ready, and the megabytes it has in memory by then; it is ended.

        With keep, its picture goes to that file, an XWD.
        """
        environment = {'DISPLAY': self.name, 'PATH': os.environ['PATH'], 'HOME': program.home, 'LC_ALL': 'C.UTF-8',
                       'NO_AT_BRIDGE': '1', 'QT_QPA_PLATFORM': 'xcb', 'GTK2_RC_FILES': f'{program.home}/.gtkrc-2.0',
                       'XDG_RUNTIME_DIR': program.home, 'DBUS_SESSION_BUS_ADDRESS': 'disabled:'}
        before = self.picture[:]
        began = time.monotonic()
        process = subprocess.Popen(program.command, env=environment, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        try:
            ready = self.last_change(process, before)
            memory = resident_megabytes(process.pid)
            if keep:
                shutil.copyfile(f'{self.directory}/Xvfb_screen0', keep)
        finally:
            end(process, program.leave, environment)
        self.wait_until_bare()
        return ready - began, memory

    def last_change(self, process, before):
        """When the picture changed for the last time; known when all has been calm for a while."""
        last, changed = before, None
        used, used_at = processor_seconds(process.pid), time.monotonic()
        began = worked = used_at
        while changed is None or time.monotonic() - max(changed, worked) < CALM:
            time.sleep(LOOK)
            if process.poll() is not None or time.monotonic() - began > LONGEST:
                raise RuntimeError(f'{process.args[0]} shows nothing that stays')
            now = self.picture[:]
            if now != last:
                changed, last = time.monotonic(), now
            if time.monotonic() - used_at > CALM / 4:
                share = (processor_seconds(process.pid) - used) / (time.monotonic() - used_at)
                used, used_at = processor_seconds(process.pid), time.monotonic()
                worked = used_at if share > BUSY else worked
        return changed

    def wait_until_bare(self):
        """The next one shall not be measured by what this one leaves behind."""
        last = None
        while last != self.picture[:]:
            last = self.picture[:]
            time.sleep(0.2)


def processor_seconds(process):
    with open(f'/proc/{process}/stat') as file:
        fields = file.read().rpartition(')')[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf('SC_CLK_TCK')


def resident_megabytes(process):
    with open(f'/proc/{process}/status') as file:
        return next(int(line.split()[1]) / 1024 for line in file if line.startswith('VmRSS:'))


def end(process, leave, environment):
    """As its user would end it, so that it keeps its caches; but end it does."""
    try:
        if leave:
            subprocess.run(leave, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60)
        else:
            process.terminate()
        process.wait(timeout=60)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


class Program:
    """A program with a home of its own, in which nothing asks, blinks or greets."""

    def __init__(self, name, home, command, leave=None):
        self.name, self.home, self.command = name, home, command
        self.leave = leave  # a command that makes the one that runs end itself
        os.makedirs(home, mode=0o700, exist_ok=True)
        write(f'{home}/.gtkrc-2.0', 'gtk-cursor-blink = 0\n')
        write(f'{home}/.config/gtk-3.0/settings.ini', '[Settings]\ngtk-cursor-blink=0\n')


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'w') as file:
        file.write(text)


def unpack(mbox, directory):
    """The messages of an mbox as an MH folder, a numbered file each."""
    os.makedirs(directory)
    source = mailbox.mbox(mbox, create=False)
    for number, key in enumerate(source.iterkeys(), 1):
        with open(f'{directory}/{number}', 'wb') as file:
            file.write(source.get_bytes(key))
    source.close()


ACCOUNT = """[Account: 1]
account_name=bench
is_default=1
name=Bench
address=bench@example.com
protocol=5
receive_server=localhost
smtp_server=localhost
user_id=bench
"""

FOLDERS = """<?xml version="1.0" encoding="UTF-8"?>
<folderlist>
    <folder type="mh" name="Mail" path="{mail}">
        <folderitem type="inbox" name="inbox" path="inbox" sort_key="date" sort_type="descending" threaded="0" />
        <folderitem type="outbox" name="sent" path="sent" />
        <folderitem type="draft" name="draft" path="draft" />
        <folderitem type="queue" name="queue" path="queue" />
        <folderitem type="trash" name="trash" path="trash" />
    </folder>
</folderlist>
"""


def mh_home(home, mbox):
    for name in ('sent', 'draft', 'queue', 'trash'):
        os.makedirs(f'{home}/Mail/{name}')
    unpack(mbox, f'{home}/Mail/inbox')
    return FOLDERS.format(mail=f'{home}/Mail')


def claws(home, mbox):
    folders = mh_home(home, mbox)
    write(f'{home}/claws/folderlist.xml', folders)
    write(f'{home}/claws/accountrc', ACCOUNT)
    write(f'{home}/claws/clawsrc', '[Common]\nconfig_version=4\ngoto_last_folder_on_startup=1\n'
          'folder_default_thread=1\nlast_opened_folder=#mh/Mail/inbox\nscan_all_after_inc=0\nshow_tips=0\n')
    command = ['claws-mail', '--alternate-config-dir', f'{home}/claws']
    return Program('Claws Mail', home, [*command, '--select', '#mh/Mail/inbox'], [*command, '--exit'])


def sylpheed(home, mbox):
    folders = mh_home(home, mbox)
    write(f'{home}/sylpheed/folderlist.xml', folders)
    write(f'{home}/sylpheed/accountrc', ACCOUNT)
    write(f'{home}/sylpheed/sylpheedrc', '[Common]\nopen_inbox_on_startup=1\nauto_check_new_version=0\n')
    command = ['sylpheed', '--configdir', f'{home}/sylpheed']
    return Program('Sylpheed', home, command, [*command, '--exit'])
