#!/usr/bin/python3
"""A hostile home router, run inside the lab's router namespace: it answers SSDP searches on
its LAN side (198.18.0.1) with a description address of its own, serves that description and
the SOAP control address badly, and answers NAT-PMP with broken replies. Prints "READY" when
it listens; runs until killed.

    fake_router.py MODE     MODE: badxml bigxml slowsoap badsoap
"""

import socket
import struct
import sys
import threading
import time

LAN = "198.18.0.1"
HTTP_PORT = 5000
SSDP = ("239.255.255.250", 1900)
NATPMP_PORT = 5351
HUGE_BYTES = 32 * 1024 * 1024

DESCRIPTION = b"""<?xml version="1.0"?>
<root xmlns="urn:schemas-upnp-org:device-1-0"><device>
<deviceType>urn:schemas-upnp-org:device:InternetGatewayDevice:1</deviceType>
<deviceList><device><deviceType>urn:schemas-upnp-org:device:WANDevice:1</deviceType>
<deviceList><device><deviceType>urn:schemas-upnp-org:device:WANConnectionDevice:1</deviceType>
<serviceList><service>
<serviceType>urn:schemas-upnp-org:service:WANIPConnection:1</serviceType>
<controlURL>/ctl</controlURL><eventSubURL>/evt</eventSubURL><SCPDURL>/scpd.xml</SCPDURL>
</service></serviceList></device></deviceList></device></deviceList></device></root>
"""


def ssdp_responder():
    s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM, socket.IPPROTO_UDP)
    s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    s.bind(("", SSDP[1]))
    s.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP,
                 socket.inet_aton(SSDP[0]) + socket.inet_aton(LAN))
    while True:
        data, peer = s.recvfrom(2048)
        if not data.startswith(b"M-SEARCH"):
            continue
        answer = ("HTTP/1.1 200 OK\r\nCACHE-CONTROL: max-age=120\r\n"
                  "ST: urn:schemas-upnp-org:device:InternetGatewayDevice:1\r\n"
                  "USN: uuid:00000000-0000-0000-0000-000000000001::"
                  "urn:schemas-upnp-org:device:InternetGatewayDevice:1\r\n"
                  "LOCATION: http://%s:%d/desc.xml\r\n\r\n" % (LAN, HTTP_PORT))
        s.sendto(answer.encode(), peer)


def http_answer(conn, body, kind=b"text/xml"):
    conn.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: " + kind + b"\r\nContent-Length: "
                 + str(len(body)).encode() + b"\r\nConnection: close\r\n\r\n" + body)


def serve(conn, mode):
    try:
        conn.settimeout(30)
        request = b""
        while b"\r\n\r\n" not in request and len(request) < 65536:
            chunk = conn.recv(4096)
            if not chunk:
                return
            request += chunk
        path = request.split(b" ")[1] if request.count(b" ") >= 2 else b"/"
        if path == b"/desc.xml":
            if mode == "badxml":
                http_answer(conn, b"<root><device><<<\x00\xff garbage" * 100)
            elif mode == "bigxml":
                # Endless nesting, far more than any description: read, or given up on.
                head = b"<root>" + b"<device>" * 1000
                conn.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: "
                             + str(HUGE_BYTES).encode() + b"\r\n\r\n" + head)
                filler = b"<x>" * 10000
                sent = len(head)
                while sent < HUGE_BYTES:
                    conn.sendall(filler)
                    sent += len(filler)
            else:
                http_answer(conn, DESCRIPTION)
        elif mode == "slowsoap":
            time.sleep(600)  # the request is taken, the answer never comes
        elif mode == "badsoap":
            http_answer(conn, b"<s:Envelope><s:Body><u:GetExternalIPAddressResponse>"
                              b"<NewExternalIPAddress>198.19.0.1<NewExternalIPAddress>"
                              + b"\x00" * 5000)
        else:
            http_answer(conn, b"")
    except OSError:
        pass
    finally:
        conn.close()


def http_server(mode):
    s = socket.socket()
    s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    s.bind((LAN, HTTP_PORT))
    s.listen(16)
    while True:
        conn, _ = s.accept()
        threading.Thread(target=serve, args=(conn, mode), daemon=True).start()


def natpmp_responder(mode):
    """Broken NAT-PMP: a short reply, a reply of another opcode claiming a public address, a
    reply with another version, or one sent from another port."""
    s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    s.bind((LAN, NATPMP_PORT))
    other = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    other.bind((LAN, 0))
    while True:
        data, peer = s.recvfrom(64)
        opcode = data[1] if len(data) > 1 else 0
        public = struct.pack(">BBHI4s", 0, 128 + opcode, 0, int(time.time()) & 0xffff,
                             socket.inet_aton("198.19.0.1"))
        if mode == "badxml":
            s.sendto(b"\x00", peer)
        elif mode == "bigxml":
            other.sendto(public, peer)
        elif mode == "badsoap":
            s.sendto(b"\x01" + public[1:], peer)
        else:
            s.sendto(struct.pack(">BBHI", 0, 128 + ((opcode + 1) % 3), 0, 1) + b"\xff" * 4,
                     peer)


def main():
    mode = sys.argv[1]
    for target, args in ((ssdp_responder, ()), (http_server, (mode,)),
                         (natpmp_responder, (mode,))):
        threading.Thread(target=target, args=args, daemon=True).start()
    time.sleep(0.3)
    print("READY", flush=True)
    while True:
        time.sleep(3600)


if __name__ == "__main__":
    main()
