"""Reads messages with Python's email package, for a test that compares what it finds with what was meant.

Standard input: for each message a line with its length, then its bytes. Standard output: one line of JSON each.
"""

import base64
import binascii
import email
import email.header
import email.policy
import email.utils
import json
import sys


def encoded(data):
    return base64.b64encode(data).decode('ascii')


def addresses(message, name):
    """Split by the older parser: the newer one keeps the blanks between the encoded words of a name."""
    entries = email.utils.getaddresses([message.get(name, '')])
    return [[str(email.header.make_header(email.header.decode_header(name))), address] for name, address in entries]


def uuencoded(lines):
    data = b''
    for line in lines:
        if line == b'end':
            return data
        data += binascii.a2b_uu(line)
    raise ValueError('a uuencoded block has no end')


def yencoded(lines):
    data = bytearray()
    for line in lines:
        if line.startswith(b'=yend '):
            return bytes(data)
        escaped = False
        for byte in line:
            if byte == ord('=') and not escaped:
                escaped = True
                continue
            data.append((byte - 42 - (64 if escaped else 0)) % 256)
            escaped = False
    raise ValueError('a yEnc block has no end')


def blocks(data):
    """Names and contents of the blocks inside a text, and the text before the first of them."""
    lines = data.replace(b'\r\n', b'\n').split(b'\n')
    found, first = [], len(lines)
    for index, line in enumerate(lines):
        for begin, decode in ((b'begin 644 ', uuencoded), (b'=ybegin line=128 size=', yencoded)):
            if line.startswith(begin):
                name = line.split(b'name=')[1] if b'name=' in line else line[len(begin):]
                found.append([name.decode('utf-8'), encoded(decode(lines[index + 1:]))])
                first = min(first, index)
    return found, b'\n'.join(lines[:first])


def described(part):
    fields = {'type': part.get_content_type(), 'name': part.get_filename() or '',
              'disposition': part.get_content_disposition() or '', 'charset': part.get_content_charset() or '',
              'encoding': part.get('Content-Transfer-Encoding', ''), 'id': part.get('Content-ID', ''),
              'typeName': part.get_param('name', '') and email.utils.collapse_rfc2231_value(part.get_param('name')),
              'protocol': part.get_param('protocol', ''), 'micalg': part.get_param('micalg', '')}
    if not part.is_multipart():
        data = part.get_payload(decode=True)
        fields['bytes'] = encoded(data)
        if fields['type'] == 'text/plain':
            fields['blocks'], text = blocks(data)
            fields['text'] = text.decode(fields['charset'] or 'ascii', 'surrogateescape')
        elif fields['type'].startswith('text/'):
            fields['text'] = data.decode(fields['charset'] or 'ascii', 'surrogateescape').replace('\r\n', '\n')
    return fields


def defects(message):
    found = [f'{part.get_content_type()}: {defect!r}' for part in message.walk() for defect in part.defects]
    for part in message.walk():
        found += [f'{name}: {defect!r}' for name in part.keys() for defect in part[name].defects]
    return found


def read(data):
    message = email.message_from_bytes(data, policy=email.policy.default)
    plain = email.message_from_bytes(data)
    return {'subject': message['Subject'] or '', 'references': (message['References'] or '').split(),
            'from': addresses(plain, 'From'), 'to': addresses(plain, 'To'), 'cc': addresses(plain, 'Cc'),
            'extra': message['X-Extra'] or '', 'preamble': message.preamble or '', 'defects': defects(message),
            'parts': [described(part) for part in message.walk()]}


def main():
    for line in iter(sys.stdin.buffer.readline, b''):
        print(json.dumps(read(sys.stdin.buffer.read(int(line)))), flush=True)


main()
