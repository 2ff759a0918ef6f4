"""Runs the measurements, each several times and in turn with its yardsticks, and prints the best of each.

measure.py BUILD DATA: the build directory, and an empty one for what is made on the way.
"""

import json
import os
import shutil
import subprocess
import sys
import time

import clients
import receivers
import senders
import tlsserver

MESSAGES = 10_000
DOWNLOAD = 400_000_000
LARGE_GROUP = 100_000
READ = 1_000
NEXT = 1_000
LARGE_MESSAGE = 200_000_000
SENT = 1_000
ATTACHMENT = 50_000_000
GROUP = 'Inbox'  # what the window shows at its start

BUILD, DATA = sys.argv[1:3]
MAIL = f'{DATA}/mail.mbox'
SMALL = f'{DATA}/small.mbox'
STORE = f'{DATA}/store'
MAILDIR = f'{DATA}/maildir'
LARGE = f'{DATA}/large'
DEMO = os.path.join(os.path.dirname(os.path.abspath(__file__)), '../data/demo.mbox')


class Failure(Exception):
    """A program failed, or what it did is wrong."""


def run(*command):
    """Runs a command to its end and returns what it printed."""
    environment = dict(os.environ, QT_QPA_PLATFORM='offscreen', LC_ALL='C.UTF-8')
    done = subprocess.run(command, capture_output=True, text=True, env=environment)
    if done.returncode != 0:
        raise Failure(f'{" ".join(command)[:200]}: {done.stderr.strip() or done.returncode}')
    return done.stdout


def bench(name, *arguments):
    """Runs one of our programs; its lines "name value" as a dictionary."""
    output = run(f'{BUILD}/bench/bench-{name}', *arguments)
    return dict(line.split(' ', 1) for line in output.splitlines())


def clocked(*command):
    start = time.monotonic()
    run(*command)
    return time.monotonic() - start


def best(rounds, *measurements):
    """The smallest value of each measurement; they take turns, so that all see the same machine."""
    values = [[measure() for measure in measurements] for _ in range(rounds)]
    return [min(column) for column in zip(*values)]


class Table:
    def __init__(self):
        self.kept = True

    def head(self, text):
        print(f'\n{text}')

    def row(self, name, value, ratio='', promise=None, keeps=True):
        self.kept = self.kept and keeps
        verdict = '' if promise is None else f'{promise}: {"kept" if keeps else "NOT KEPT"}'
        print(f'  {name:<44}{value:>16}  {ratio:<12}{verdict}'.rstrip(), flush=True)


def seconds(value):
    return f'{value * 1000:.1f} ms' if value < 1 else f'{value:.2f} s'


def parsing(table):
    ours, theirs = bench('parse', '--check', MAIL), bench('gmime', '--check', MAIL)
    for found in (ours, theirs):
        del found['seconds']
    if ours != theirs or int(ours['messages']) != MESSAGES:
        raise Failure(f'the parsers disagree: {ours} and {theirs}')

    def timed(*command):
        return lambda: float(bench(*command)['seconds'])

    ours, theirs, lines = best(5, timed('parse', MAIL), timed('gmime', MAIL), timed('yardstick', 'scan', MAIL))
    table.head(f'Parsing and decoding {MESSAGES:,} messages, {os.path.getsize(MAIL) / 1e6:.0f} MB')
    table.row('Velmar', f'{MESSAGES / ours:,.0f} /s')
    table.row('GMime', f'{MESSAGES / theirs:,.0f} /s', f'{theirs / ours:.2f} times', 'at least 3 times',
              theirs >= 3 * ours)
    table.row('looking for line ends', f'{MESSAGES / lines:,.0f} /s', f'{lines / ours:.3f} times')


def import_mail(store, group, mbox):
    os.makedirs(store, 0o700, exist_ok=True)
    run(f'{BUILD}/velmar-cli', '--config', store, 'import', group, mbox)


def import_once():
    shutil.rmtree(STORE, ignore_errors=True)
    os.mkdir(STORE, 0o700)
    start = time.monotonic()
    output = run(f'{BUILD}/velmar-cli', '--config', STORE, '--json', 'import', GROUP, MAIL)
    taken = time.monotonic() - start
    if json.loads(output)['imported'] != MESSAGES:
        raise Failure(f'not all was imported: {output}')
    return taken


def convert_once():
    shutil.rmtree(MAILDIR, ignore_errors=True)
    taken = clocked('mb2md', '-s', MAIL, '-d', MAILDIR)
    if len(os.listdir(f'{MAILDIR}/cur')) != MESSAGES:
        raise Failure('mb2md did not convert everything')
    return taken


def write_once():
    copy = f'{DATA}/copy'
    taken = float(bench('yardstick', 'write', MAIL, copy)['seconds'])
    os.remove(copy)
    return taken


def importing(table):
    ours, theirs, plain = best(3, import_once, convert_once, write_once)
    size = sum(os.path.getsize(os.path.join(path, name)) for path, _, names in os.walk(STORE) for name in names)
    table.head(f'Importing them, compressed and all on the disk ({size / 1e6:.0f} MB)')
    table.row('Velmar', seconds(ours))
    table.row('mb2md, not synced', seconds(theirs), f'{theirs / ours:.2f} times', 'at least level', theirs >= ours)
    table.row('writing the bytes with one fsync', seconds(plain), f'{plain / ours:.3f} times')


def reading(table):
    def ours():
        return float(bench('group', 'read', STORE, GROUP, str(READ))['seconds'])

    def files():
        return float(bench('yardstick', 'read', f'{MAILDIR}/cur', str(READ))['seconds'])

    group, plain = best(5, ours, files)
    table.head(f'Reading {READ:,} messages at random')
    table.row('Velmar', f'{READ / group:,.0f} /s')
    table.row('as many files of a Maildir', f'{READ / plain:,.0f} /s', f'{plain / group:.2f} times')


def opening(table):
    import_mail(LARGE, 'Large', SMALL)
    found = [bench('group', 'open', LARGE, 'Large') for _ in range(5)]
    if any(int(one['rows']) != LARGE_GROUP for one in found):
        raise Failure('the large group has not all its messages')
    taken = min(float(one['seconds']) for one in found)
    heap = max(int(one['heap']) for one in found) / LARGE_GROUP
    lines, = best(5, lambda: float(bench('yardstick', 'scan', f'{LARGE}/Groups/{group_number(LARGE)}/Overview')
                                   ['seconds']))
    table.head(f'Opening a group of {LARGE_GROUP:,} messages, its list ready')
    table.row('Velmar', seconds(taken), '', 'under 100 ms', taken < 0.1)
    table.row('memory beyond the mapped file', f'{heap:.1f} bytes/row', '', 'under 64 bytes', heap < 64)
    table.row('reading the bytes of its overviews', seconds(lines), f'{lines / taken:.3f} times')


def group_number(store):
    """The number of the group with the largest overviews."""
    numbers = [name for name in os.listdir(f'{store}/Groups') if name.isdigit()
               and os.path.exists(f'{store}/Groups/{name}/Overview')]
    return max(numbers, key=lambda name: os.path.getsize(f'{store}/Groups/{name}/Overview'))


def starting(table):
    program = f'{BUILD}/velmar'
    table.head(f'Start until the window is painted, {MESSAGES:,} messages in its group')
    if not os.path.exists(program):
        table.row('Velmar', 'not built')
        return
    ours, bare = best(5, lambda: clocked(program, '--config', STORE, '--exit-when-shown'),
                      lambda: clocked(f'{BUILD}/bench/bench-bare_window'))
    table.row('Velmar', seconds(ours))
    table.row('an empty window', seconds(bare), f'{ours / bare:.2f} times longer')


def deeds(table):
    """What one does in a window with a large group: how long until it shows, how long nothing else could happen."""
    rounds = [bench('window', 'folder', LARGE, 'Large') for _ in range(3)]
    if any(int(found['rows']) != LARGE_GROUP for found in rounds):
        raise Failure('the window does not show all messages of the large group')
    table.head(f'In the window, {LARGE_GROUP:,} messages: until the result shows; the event loop held at most')
    for name in (name for name in rounds[0] if len(rounds[0][name].split()) > 2):
        shown, held, event = min((found[name].split(' ', 2) for found in rounds), key=lambda found: float(found[1]))
        shown = min(float(found[name].split()[0]) for found in rounds)
        keeps = shown < 1000 and float(held) < 100
        table.row(name.replace('-', ' '), seconds(shown / 1000), f'{float(held):.0f} ms', 'under 1 s, 100 ms', keeps)
        if not keeps:
            print(f'    held by {event}')


def next_message(table):
    import_mail(STORE, 'Demo', DEMO)
    table.head('The next message by a key: select, read, parse, draw')
    for name, group in (('messages of the demo', 'Demo'), ('generated messages', GROUP)):
        rounds = [bench('window', 'next', STORE, group, str(NEXT)) for _ in range(3)]
        median, late = (min(float(found[value]) for found in rounds) for value in ('median', 'p99'))
        table.row(f"{rounds[0]['messages']} {name}, median", f'{median:.1f} ms', '', 'under 20 ms', median < 20)
        table.row('the slowest but one in a hundred', f'{late:.1f} ms', '', 'under 60 ms', late < 60)


def starting_among_others(table):
    store = f'{DATA}/inbox'
    import_mail(store, GROUP, SMALL)
    clients.write(f'{store}/Config', 'AskDefaultMailClient=false\nend\n')
    ours = clients.Program('Velmar', f'{DATA}/velmar', [f'{BUILD}/velmar', '--config', store])
    others = [make(f'{DATA}/{make.__name__}', SMALL) for make in (clients.claws, clients.sylpheed)]
    table.head(f'Start on a display, {LARGE_GROUP:,} messages in the folder that it shows: until all is painted')
    with clients.Display() as display:
        for program in [ours, *others]:
            display.start(program)  # makes its caches
        found = [[display.start(program) for program in [ours, *others]] for _ in range(3)]
    fastest, memory = min(one[0][0] for one in found), max(one[0][1] for one in found)
    table.row(ours.name, seconds(fastest))
    for place, program in enumerate(others, 1):
        taken, theirs = min(one[place][0] for one in found), min(one[place][1] for one in found)
        table.row(f'{program.name}, {theirs:.0f} MB', seconds(taken), f'{taken / fastest:.2f} times', 'slower',
                  taken > fastest)
    table.row('memory of Velmar then', f'{memory:.0f} MB', '', 'under 150 MB', memory < 150)


def fetching(table):
    with receivers.MailServer(BUILD) as server:
        server.ask('natural', 'many', MESSAGES)
        both = [make(BUILD, f'{DATA}/{make.name}', server, 'many') for make in (receivers.Velmar, receivers.Mpop)]
        both[1].fetch(MESSAGES)  # the server learns the sizes
        rounds = [[each.fetch(MESSAGES) for each in both] for _ in range(3)]
        ours, theirs = (min(column, key=lambda done: done.seconds) for column in zip(*rounds))
        table.head(f'Fetching {MESSAGES:,} messages by POP3 from this machine, all on the disk')
        ratio = theirs.seconds / ours.seconds
        for name, done in (('Velmar, into its store', ours), ('mpop, into a Maildir', theirs)):
            kept = [f'{ratio:.2f} times', 'at least 1.5 times', ratio >= 1.5] if done is theirs else []
            table.row(name, f'{MESSAGES / done.seconds:,.0f} /s', *kept)
            table.row(f'  {done.syncs:,} syncs took of it', seconds(done.sync_seconds))
        server.ask('large', 'film', LARGE_MESSAGE)
        peak = receivers.Velmar(BUILD, f'{DATA}/film', server, 'film').fetch(1).memory
        table.row(f'memory for a message of {LARGE_MESSAGE / 1e6:.0f} MB', f'{peak / 1e6:.0f} MB',
                  f'{peak / LARGE_MESSAGE:.2f} times', 'under 3 times', peak < 3 * LARGE_MESSAGE)
        arriving(table, server)


def arriving(table, server):
    """In an open window, which shows the group."""
    held, worst, syncs = [], [], []
    for _ in range(3):
        ours = receivers.Velmar(BUILD, f'{DATA}/window', server, 'many')
        ours.prepare()
        found = bench('window', 'arrive', ours.store, GROUP, 'Box')
        if int(found['messages']) != MESSAGES:
            raise Failure('the window does not show all that arrived')
        held.append(float(found['held-by-itself'].split()[0]))
        worst.append(found['held-by-itself'].split(' ', 1)[1])
        syncs.append(float(found['held'].split()[0]))
    best_round = held.index(min(held))
    table.row('in an open window, the event loop held at most', f'{held[best_round]:.0f} ms', '', 'under 50 ms',
              held[best_round] < 50)
    if held[best_round] >= 50:
        print(f'    held by {worst[best_round]}')
    table.row('  with the syncs', f'{syncs[best_round]:.0f} ms')


def send_once(port, names):
    found = bench('send', str(port), *names)
    if int(found['sent']) != len(names):
        raise Failure(f'not all was sent: {found}')
    return float(found['seconds'])


def send_outbox(port, names):
    directory = f'{DATA}/outbox'
    shutil.rmtree(directory, ignore_errors=True)
    found = bench('outbox', str(port), directory, *names)
    if int(found['sent']) != len(names):
        raise Failure(f'not all was sent and filed: {found}')
    return float(found['seconds'])


def sending(table):
    if not os.path.exists(senders.SINK):
        table.head('Sending messages: smtp-sink of the package postfix is missing')
        table.row('Velmar', 'not measured', '', 'at least 1.5 times', False)
        return
    plain, ours = senders.write(f'{DATA}/outgoing', MAIL, SENT)
    with senders.Sink() as sink:
        velmar, smtplib = best(9, lambda: send_once(sink.port, ours), lambda: senders.by_smtplib(sink.port, plain))
        outbox, marked = best(9, lambda: send_outbox(sink.port, ours),
                              lambda: senders.by_smtplib_with_marks(sink.port, plain, f'{DATA}/marks'))
        few = plain[:SENT // 10]
        msmtp = senders.by_msmtp(sink.port, few) * SENT / len(few)
    size = sum(os.path.getsize(name) for name in plain)
    table.head(f'Sending {SENT:,} messages, {size / 1e6:.0f} MB, to a server that keeps nothing')
    table.row('Velmar, the sender alone', f'{SENT / velmar:,.0f} /s')
    table.row("Python's smtplib, one connection", f'{SENT / smtplib:,.0f} /s', f'{smtplib / velmar:.2f} times',
              'at least 1.5 times', smtplib >= 1.5 * velmar)
    table.row(f'msmtp, a call for each of the first {len(few):,}', f'{SENT / msmtp:,.0f} /s',
              f'{msmtp / velmar:.2f} times')
    table.row('Velmar, the outbox with its marks and copies', f'{SENT / outbox:,.0f} /s')
    table.row('smtplib with two fdatasync a message', f'{SENT / marked:,.0f} /s', f'{marked / outbox:.2f} times',
              'at least 1.5 times', marked >= 1.5 * outbox)


def compose_once(film, message):
    start = time.monotonic()
    found = bench('compose', film, message)
    return time.monotonic() - start, int(found['peak'])


def base64_once(film, lines):
    start = time.monotonic()
    with open(lines, 'wb') as target:
        subprocess.run(['base64', '-w', '76', film], stdout=target, check=True)
    return time.monotonic() - start


def composing(table):
    film, message, lines = (f'{DATA}/{name}' for name in ('attachment', 'attachment.eml', 'attachment.base64'))
    with open(film, 'wb') as target:
        target.write(os.urandom(ATTACHMENT))
    (ours, peak), theirs = best(5, lambda: compose_once(film, message), lambda: base64_once(film, lines))
    with open(message, 'rb') as written, open(lines, 'rb') as expected:
        if expected.read() not in written.read():
            raise Failure('the message does not hold the attachment as base64 has it')
    table.head(f'Composing a message with a file of {ATTACHMENT / 1e6:.0f} MB, into a file')
    table.row('Velmar', seconds(ours))
    table.row('base64 -w 76', seconds(theirs), f'{theirs / ours:.2f} times', 'at most twice as long',
              ours <= 2 * theirs)
    table.row('memory', f'{peak / 1e6:.0f} MB', f'{peak / ATTACHMENT:.2f} times', 'under 3 times',
              peak < 3 * ATTACHMENT)


def typing(table):
    """In the middle of a long message; the worst key of the best round, for other programs run here too."""
    table.head('A key in the middle of a long message, until it is painted: the median, the worst')
    rounds = [bench('typing') for _ in range(3)]
    for name, text in (('plain', 'plain text, 1 MB, 20,000 quoted lines'), ('formatted', 'formatted text, 2,000 lines')):
        ours, bare = ([[float(number) for number in found[kind].split()] for found in rounds]
                      for kind in (name, f'bare-{name}'))
        median, worst = (min(found[i] for found in ours) for i in (0, 1))
        yardstick, theirs = (min(found[i] for found in bare) for i in (0, 1))
        table.row(text, f'{median:.2f}, {worst:.1f} ms', '', 'no key over 16 ms', worst < 16)
        table.row("the toolkit's editor by itself", f'{yardstick:.2f}, {theirs:.1f} ms', f'{yardstick / median:.2f} times')
        kept = min(float(found[f'kept-{name}']) for found in rounds)
        table.row('a version kept in a pause, the loop held', f'{kept:.1f} ms')


def download_by_us(port, trusted):
    found = bench('download', str(port), trusted, '/large')
    if int(found['bytes']) < DOWNLOAD:
        raise Failure(f'not all was downloaded: {found}')
    return float(found['seconds'])


def download_by_curl(port, trusted):
    size, taken = run('curl', '--silent', '--cacert', trusted, '--output', '/dev/null', '--write-out',
                      '%{size_download} %{time_total}', f'https://127.0.0.1:{port}/large').split()
    if int(size) != DOWNLOAD:
        raise Failure(f'curl did not download everything: {size}')
    return float(taken)


def downloading(table):
    with tlsserver.running(DATA, DOWNLOAD) as server:
        ours, theirs = best(7, lambda: download_by_us(*server), lambda: download_by_curl(*server))
    table.head(f'Downloading {DOWNLOAD / 1e6:.0f} MB over TLS from this machine, read in blocks')
    table.row('Velmar', f'{DOWNLOAD / ours / 1e6:,.0f} MB/s')
    table.row('curl', f'{DOWNLOAD / theirs / 1e6:,.0f} MB/s', f'{theirs / ours:.2f} times',
              'at least 0.9 times', theirs >= 0.9 * ours)


def check_disk():
    """What lies in memory is synced for nothing, and says nothing of a disk."""
    kind = run('stat', '--file-system', '--format=%T', DATA).strip()
    if kind in ('tmpfs', 'ramfs'):
        raise Failure(f'{DATA} lies in memory ({kind}): set TMPDIR to a directory on a disk')


def main():
    table = Table()
    try:
        check_disk()
        for path, count, kind in ((MAIL, MESSAGES, []), (SMALL, LARGE_GROUP, ['--small'])):
            subprocess.run([f'{BUILD}/bench/bench-generate', *kind, path, str(count)], check=True,
                           stderr=None if not kind else subprocess.DEVNULL)
        print(f'The best of several runs; the load of the machine was {os.getloadavg()[0]:.1f} at the start.')
        for measure in (parsing, importing, composing, typing, sending, fetching, reading, opening, starting, deeds, next_message,
                        starting_among_others, downloading):
            measure(table)
    except (Failure, RuntimeError) as failure:
        sys.exit(str(failure))
    sys.exit(0 if table.kept else 1)


main()
