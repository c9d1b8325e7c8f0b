#!/usr/bin/env python3
"""Lets tshark judge what the encoders write.

Usage: tshark-check.py ENCODE_SAMPLES

Runs the given program, which prints one "name<TAB>hex" line per LDP message, puts each message
into a TCP segment of its own and reads the capture back with tshark. Fails when tshark finds a
message malformed, reports an expert error or does not see the values that the name stands for.
Exits with 77 when tshark is not installed.
"""
import collections
import os
import shutil
import struct
import subprocess
import sys
import tempfile

# What tshark must see in a message, beside its type and message ID.
EXPECTED = {
    'mapping without RTP': {'fec.pw.pwid': '100', 'fec.pw.pwtype': '0x0005',
                            'fec.pw.controlword': '0', 'generic.label': '16'},
    'mapping with everything': {
        'fec.pw.pwid': '4294967294', 'fec.pw.groupid': '9', 'fec.pw.controlword': '1',
        'fec.vc.intparam.mtu': '1500', 'fec.vc.intparam.maxatm': '28',
        'fec.vc.intparam.tdmbps': '32', 'fec.vc.intparam.cepbytes': '256',
        'fec.vc.intparam.desc': 'to-b', 'fec.vc.intparam.flowlabel.t': '1',
        'generic.label': '1048575', 'lbl_req_msg_id': '0x0000abcd',
        'pwstatus.code': '0x00000018'},
    'mapping of a generalized PWid': {
        'fec.gen.agi.value': '000afde800000064', 'fec.gen.saii.value': '0a000001',
        'fec.gen.taii.value': '0a000002', 'fec.pw.controlword': '1', 'fec.pw.infolength': '22',
        'pwgrouping.value': '7'},
    'withdraw with an address list': {'fec.pw.pwid': '100', 'generic.label': '16'},
    'PW status': {'status.data': '0x00000028', 'pwstatus.code': '0x00000018', 'fec.pw.pwid': '100'},
    'error bad TLV length': {'status.data': '0x00000007', 'status.ebit': '1',
                             'status.msg.id': '0x00000011', 'status.msg.type': '0x0400'},
}

# Forms that the RFCs define and tshark calls malformed: a PWid element of PW information length 0,
# several PWid elements in one TLV.
NOT_JUDGED = {'withdraw of a PWid group', 'doubled mapping element', 'doubled request element',
              'doubled withdraw',
              # No RFC's form: an empty Returned Message TLV, FEC TLVs without an element.
              'error malformed TLV value', 'mapping of an unknown key type',
              'switching points beyond the array'}


def packet(number, message):
    """An IPv4 packet with one LDP PDU, of a TCP connection of its own."""
    pdu = struct.pack('!HHIH', 1, 6 + len(message), 0x0A000001, 0) + message
    tcp = struct.pack('!HHIIBBHHH', 20000 + number, 646, 1, 1, 5 << 4, 0x18, 8192, 0, 0) + pdu
    return struct.pack('!BBHHHBBHII', 0x45, 0, 20 + len(tcp), number, 0, 64, 6, 0, 0x0A000001,
                       0x0A000002) + tcp


def dissect(samples):
    """Yields what tshark tells of each sample as {field: value}."""
    fields = sorted({f for expected in EXPECTED.values() for f in expected})
    names = ['_ws.malformed', '_ws.expert.severity', '_ws.expert.message', 'ldp.msg.type',
             'ldp.msg.id'] + ['ldp.msg.tlv.' + f for f in fields]
    with tempfile.NamedTemporaryFile(suffix='.pcap') as capture:
        capture.write(struct.pack('!IHHIIII', 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
        for number, (_, message) in enumerate(samples):
            data = packet(number, message)
            capture.write(struct.pack('!IIII', number, 0, len(data), len(data)) + data)
        capture.flush()
        command = ['tshark', '-r', capture.name, '-T', 'fields', '-E', 'separator=/t']
        for name in names:
            command += ['-e', name]
        result = subprocess.run(command, check=True, capture_output=True, text=True)
    lines = result.stdout.splitlines()
    if len(lines) != len(samples):
        sys.exit(f'tshark shows {len(lines)} of {len(samples)} messages')
    for line in lines:
        yield dict(zip(names, line.split('\t')))


def faults(name, message, seen):
    """Yields what is wrong with one message."""
    kind = int(seen['ldp.msg.type'].split(',')[0], 0) if seen['ldp.msg.type'] else 0
    if kind != int.from_bytes(message[:2], 'big'):
        yield f'message type {kind:#x}'
    if seen['ldp.msg.id'].split(',')[0] != f'0x{message[4:8].hex()}':
        yield f'message ID {seen["ldp.msg.id"]}'
    judged = name not in NOT_JUDGED
    if judged and seen['_ws.malformed']:
        yield f'malformed: {seen["_ws.malformed"]}'
    if judged and any(int(s) >= 0x800000 for s in seen['_ws.expert.severity'].split(',') if s):
        yield f'expert error: {seen["_ws.expert.message"]}'
    for field, value in EXPECTED.get(name, {}).items():
        if seen['ldp.msg.tlv.' + field] != value:
            yield f'{field} is {seen["ldp.msg.tlv." + field]!r}, not {value!r}'


def main():
    if shutil.which('tshark') is None:
        print('SKIPPED: tshark is not installed')
        sys.exit(77)
    output = subprocess.run([sys.argv[1]], check=True, capture_output=True, text=True).stdout
    samples = [(name, bytes.fromhex(octets)) for name, octets in
               (line.split('\t') for line in output.splitlines())]
    missing = (set(EXPECTED) | set(NOT_JUDGED)) - {name for name, _ in samples}
    failed = [f'{name}: no such sample' for name in sorted(missing)]
    for (name, message), seen in zip(samples, dissect(samples)):
        failed += [f'{name}: {fault}' for fault in faults(name, message, seen)]
    for line in failed:
        print(line)
    judged = sum(name not in NOT_JUDGED for name, _ in samples)
    print(f'{len(samples)} messages read by tshark, {judged} judged, {len(failed)} faults')
    sys.exit(1 if failed else 0)


if __name__ == '__main__':
    main()
