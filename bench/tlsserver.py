"""A web server over TLS on 127.0.0.1 that has one large text, for whoever asks. Nothing is read from a disk."""

import contextlib
import os
import socket
import ssl
import subprocess

PIECE = 1 << 20


def certificate(directory):
    """A self-signed certificate for 127.0.0.1 and its key; returns both paths."""
    paths = f'{directory}/tls.pem', f'{directory}/tls.key'
    subprocess.run(['openssl', 'req', '-x509', '-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:P-256', '-nodes',
                    '-subj', '/CN=127.0.0.1', '-addext', 'subjectAltName=IP:127.0.0.1', '-days', '2',
                    '-out', paths[0], '-keyout', paths[1]], check=True, capture_output=True)
    return paths


def serve(listener, context, size):
    """Answers one connection after the other until the listener is closed."""
    piece = memoryview(os.urandom(PIECE))
    while True:
        try:
            connection, _ = listener.accept()
        except OSError:
            return
        with contextlib.suppress(OSError), context.wrap_socket(connection, server_side=True) as client:
            client.recv(4096)
            client.sendall(b'HTTP/1.0 200 OK\r\nContent-Length: %d\r\n\r\n' % size)
            for start in range(0, size, PIECE):
                client.sendall(piece[:min(PIECE, size - start)])
            client.unwrap()


@contextlib.contextmanager
def running(directory, size):
    """A process of its own that serves `size` bytes; gives its port and the certificate to trust."""
    paths = certificate(directory)
    listener = socket.create_server(('127.0.0.1', 0))
    child = os.fork()
    if child == 0:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(*paths)
        serve(listener, context, size)
        os._exit(0)
    port = listener.getsockname()[1]
    listener.close()
    try:
        yield port, paths[0]
    finally:
        os.kill(child, 9)
        os.waitpid(child, 0)
