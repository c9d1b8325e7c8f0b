#!/usr/bin/env python3
"""Lets tshark judge what the encoders write and what qorldp reads.

Usage: tshark-check.py ENCODE_SAMPLES GENERATE_MESSAGES QORLDP CAPTURE

The first two programs print one "name<TAB>hex" line per LDP message, the second with the record as
a third column. Most messages are put into a TCP segment of their own, the others into PDUs of
several messages in a stream cut anywhere. Fails when tshark finds a message malformed, reports an
expert error or does not see the values that its name or record stands for; and, for these messages
and those of CAPTURE, when `qorldp decode --json` and tshark do not tell the same. Exits with 77
when tshark is not installed.
"""
import collections
import json
import shutil
import struct
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

import tshark_fields

GENERATED, SEED = '5600', '1'
ALONE, ENOUGH, SHOWN = 4500, 5500, 50  # messages alone, compared at least, differences printed
SEGMENT = 900  # octets of the stream

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
        'fec.gen.agi.value': '00:0a:fd:e8:00:00:00:64', 'fec.gen.saii.value': '0a:00:00:01',
        'fec.gen.taii.value': '0a:00:00:02', 'fec.pw.controlword': '1', 'fec.pw.infolength': '22',
        'pwgrouping.value': '7'},
    'withdraw with an address list': {'fec.pw.pwid': '100', 'generic.label': '16'},
    'PW status': {'status.data': '0x00000028', 'pwstatus.code': '0x00000018', 'fec.pw.pwid': '100'},
    'error bad TLV length': {'status.data': '0x00000007', 'status.ebit': '1',
                             'status.msg.id': '0x00000011', 'status.msg.type': '0x0400'},
}

# What tshark finds malformed or erroneous, by name.
NOT_JUDGED = {
    'withdraw of a PWid group': 'tshark wants a PW ID behind a PW information length of 0',
    'PWid group at the end': 'the same', 'notification of a group without status': 'the same',
    'doubled mapping element': 'tshark takes a second PWid element for an interface parameter',
    'doubled request element': 'the same', 'doubled withdraw': 'the same',
    'error malformed TLV value': 'no RFC\'s form: an empty Returned Message TLV',
    'mapping of an unknown key type': 'no RFC\'s form: a FEC TLV without an element',
}

# What qorldp finds malformed, by name; of these only the header is compared.
REFUSED = {
    'mapping of an unknown key type': 'a FEC TLV without an element',
    'switching points beyond the array': 'the same; tshark does not mind with TLVs behind it',
    'mapping with the vendor marker': 'an unknown TLV without U bit; tshark knows no receiver',
    'request of a group': 'a request is for one pseudowire; tshark checks no such thing',
    'notification without status': 'the Status TLV is missing; tshark checks no such thing',
    'notification of a group without status': 'the same',
    'error with a PW status': 'the PW Status TLV is missing; tshark checks no such thing',
}


def in_memory(ours, theirs):
    """Whether the number in front of the colon is two octets and a word as a host stores them."""
    (one, rest), (other, other_rest) = ours.split(':'), theirs.split(':')
    a, b, c, d = int(other).to_bytes(4, 'big')
    return int(one) == int.from_bytes([a, b, d, c], 'little') and rest == other_rest


def holds(test, ours, theirs):
    try:
        return test(ours or 0, theirs or 0)
    except (AttributeError, TypeError, ValueError):  # not what the row is about
        return False


# Where the two tell different things: kind of message (any when empty), key, what must hold between
# qorldp's value and tshark's (0 where one shows nothing), why.
DIFFERENT = [
    ('', 'vccv_cv_names', lambda q, t: q & 7 == t,
     'tshark shows one of the four BFD types (RFC 5885)'),
    ('', 'flow_label_names', lambda q, t: t == 0,
     'tshark does not open the flow label in a TLV of parameters (RFC 6391)'),
    ('', 'pw_status_names', lambda q, t: q & 0x1F == t,
     'tshark does not name the standby bit (RFC 6870)'),
    ('PW status under status 6', 'pw_status', lambda q, t: q == 0,
     'qorldp shows a PW status under status 0x28 only'),
    ('PW status under status 6', 'pw_status_names', lambda q, t: q == 0, 'the same'),
    ('PW status under status 6', 'fec.group_id', lambda q, t: q == 0,
     'qorldp shows no PW Group ID TLV under another status'),
    ('doubled MAC withdraw', 'macs', lambda q, t: q == 0, 'qorldp shows the last MAC TLV'),
    ('', 'fec.agi', in_memory, 'qorldp shows a vendor\'s community (type 0x80) as a host has it'),
    ('doubled withdraw', 'status_word', lambda q, t: t == [q, q], 'the TLV stands there twice'),
]

TABLES = {'tshark finds': NOT_JUDGED, 'qorldp finds': REFUSED, 'expected': EXPECTED,
          'different': [f'{kind or "any"}, {key}' for kind, key, *_ in DIFFERENT]}


def kind_of(name):
    return name.split('#')[0]


def samples_of(*commands):
    """The (name, octets, record) that the programs print, the record empty where none is."""
    for command in commands:
        output = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
        for line in output.splitlines():
            name, octets, record = (line + '\t').split('\t')[:3]
            yield name, bytes.fromhex(octets), record


# ---- The capture


def pdu(number, messages):
    body = b''.join(messages)
    return struct.pack('!HHIH', 1, 6 + len(body), 0x0A000001 + number, number % 3) + body


def segments(alone, packed):
    """Yields port, sequence number and octets: messages alone in a connection each, then a stream
    with PDUs of one to five messages."""
    for number, (_, octets, _) in enumerate(alone):
        yield 10000 + number, 1, pdu(number, [octets])
    stream, number = b'', 0
    while packed:
        count = 1 + number % 5
        stream += pdu(number, [octets for _, octets, _ in packed[:count]])
        packed, number = packed[count:], number + 1
    for at in range(0, len(stream), SEGMENT):
        yield 9999, 1 + at, stream[at:at + SEGMENT]


def write_capture(file, alone, packed):
    file.write(struct.pack('!IHHIIII', 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
    for number, (port, sequence, octets) in enumerate(segments(alone, packed)):
        tcp = struct.pack('!HHIIBBHHH', port, 646, sequence, 1, 5 << 4, 0x18, 8192, 0, 0) + octets
        data = struct.pack('!BBHHHBBHII', 0x45, 0, 20 + len(tcp), number, 0, 64, 6, 0, 0x0A000001,
                           0x0A000002) + tcp
        file.write(struct.pack('!IIII', number, 0, len(data), len(data)) + data)
    file.flush()


# ---- What the two tell of it

EXPERT, MALFORMED = './/field[@name="_ws.expert"]', './/proto[@name="_ws.malformed"]'
SEVERITY = 'field[@name="_ws.expert.severity"]'
CUT = '[Malformed Packet: LDP]'  # tshark shows nothing behind the place


def tshark(capture):
    """Yields the messages of a capture."""
    command = ['tshark', '-r', capture, '-T', 'pdml', '-J', 'ldp _ws.malformed']
    with subprocess.Popen(command, stdout=subprocess.PIPE) as process:
        for _, packet in xml.etree.ElementTree.iterparse(process.stdout):
            if packet.tag != 'packet':
                continue
            errors = {expert.get('showname') for expert in packet.iterfind(EXPERT)
                      if int(expert.find(SEVERITY).get('show')) >= 0x800000}
            errors |= {proto.get('showname') for proto in packet.iterfind(MALFORMED)}
            for proto in packet.iterfind('proto[@name="ldp"]'):
                for node in proto.iterfind('field[@name=""]'):
                    yield tshark_fields.Message(proto, node, errors)
            packet.clear()
    if process.returncode != 0:
        sys.exit(f'tshark fails with {process.returncode}')


def qorldp(program, capture):
    """The objects of the messages of a capture by time: of a stream without its start a message may
    come late."""
    output = subprocess.run([program, 'decode', '--json', '--all', capture], check=False,
                            capture_output=True, text=True).stdout
    items = [json.loads(line) for line in output.splitlines()]
    for item in items:
        if item['kind'] != 'message':
            sys.exit(f'qorldp shows {item}')
    return sorted(items, key=lambda item: item['time'])


class Judge:
    """Compares, counts, and knows which rows of the tables were met."""

    def __init__(self):
        self.failed, self.met = [], set()
        self.messages, self.compared = collections.Counter(), collections.Counter()

    def fail(self, name, text):
        self.failed.append(f'{name}: {text}')

    def excuse(self, table, name, text):
        rows = TABLES[table]
        if kind_of(name) in rows:
            self.met.add((table, kind_of(name)))
        else:
            self.fail(name, f'{table}: {text}')

    def message(self, name, item, shown):
        """What both tell of a message."""
        if shown.errors:
            self.excuse('tshark finds', name, ', '.join(sorted(shown.errors)))
        if item['class'] == 'malformed':
            self.excuse('qorldp finds', name, item['error']['text'])
        ours, theirs = tshark_fields.of_qorldp(item), shown.values()
        keys = ours.keys() | theirs.keys()
        if item['class'] in ('malformed', 'other') or CUT in shown.errors:
            keys = tshark_fields.HEADER
        elif not shown.errors:
            for field in sorted(shown.fields.keys() - tshark_fields.NAMED):
                self.fail(name, f'tshark shows {field}, which no key stands for')
        self.messages['header' if keys is tshark_fields.HEADER else 'whole'] += 1
        for key in sorted(keys):
            self.value(name, key, ours.get(key), theirs.get(key))

    def value(self, name, key, ours, theirs):
        if ours == theirs and ours is not None:
            self.compared[key] += 1
            return
        for kind, row_key, test, _ in DIFFERENT:
            if kind in ('', kind_of(name)) and row_key == key and holds(test, ours, theirs):
                self.met.add(('different', f'{kind or "any"}, {key}'))
                return
        self.fail(name, f'{key} is {ours!r} to qorldp, {theirs!r} to tshark')

    def sample(self, name, octets, record, shown):
        """What tshark must see, whatever qorldp tells."""
        kind, number = (tshark_fields.number(shown.fields[f][0]) for f in ('msg.type', 'msg.id'))
        if (kind, number, shown.octets) != (*struct.unpack('!H2xI', octets[:8]), octets):
            self.fail(name, f'type {kind:#x}, message ID {number:#x}, {shown.octets.hex()}')
        for field, value in EXPECTED.get(name, {}).items():
            seen = ','.join(item['show'] for item in shown.fields[field])
            if seen != value:
                self.fail(name, f'{field} is {seen!r}, not {value!r}')
        self.met.add(('expected', name))
        if record and CUT not in shown.errors:
            asked, seen = tshark_fields.of_record(record), shown.values()
            for key in sorted(asked.keys() | seen.keys() & tshark_fields.ASKED):
                self.messages['asked'] += 1
                if asked.get(key) != seen.get(key):
                    self.fail(name, f'{key} is {seen.get(key)!r} to tshark, {asked.get(key)!r} '
                                    'was to be encoded')

    def finish(self):
        """Prints the result; whether it is good."""
        self.failed += [f'never met: {table}: {row}' for table, rows in TABLES.items()
                        for row in rows if (table, row) not in self.met]
        self.failed += [f'never compared: {key}' for key in tshark_fields.KEYS
                        if not self.compared[key]]
        if self.messages['whole'] < ENOUGH:
            self.failed.append(f'only {self.messages["whole"]} messages compared')
        for key, count in sorted(self.compared.items()):
            print(f'{key} {count} values')
        for line in self.failed[:SHOWN]:
            print(line)
        print(f'{self.messages["whole"]} messages compared, of {self.messages["header"]} more the '
              f'header; {self.compared.total()} values, {self.messages["asked"]} with the record; '
              f'{len(self.failed)} faults')
        return not self.failed


def judge_capture(judge, program, capture, samples=()):
    """Judges the messages of a capture; samples are what was put there."""
    items, shown = qorldp(program, capture), list(tshark(capture))
    names = [sample[0] for sample in samples] or [f'{capture} {n + 1}' for n in range(len(shown))]
    if not len(names) == len(items) == len(shown):
        sys.exit(f'{len(names)} messages, {len(items)} to qorldp, {len(shown)} to tshark')
    for name, item, message in zip(names, items, shown):
        judge.message(name, item, message)
    for sample, item, message in zip(samples, items, shown):
        judge.sample(*sample, message)
        if item['class'] == 'other':
            judge.fail(sample[0], 'qorldp takes it for no signalling of pseudowires')


def main():
    encode_samples, generate_messages, program, capture = sys.argv[1:]
    if shutil.which('tshark') is None:
        print('SKIPPED: tshark is not installed')
        sys.exit(77)
    samples = list(samples_of([encode_samples], [generate_messages, GENERATED, SEED]))
    # What tshark does not read to its end stands alone, or it would take others with it.
    packed = [s for s in samples[ALONE:] if kind_of(s[0]) not in NOT_JUDGED]
    alone = samples[:ALONE] + [s for s in samples[ALONE:] if kind_of(s[0]) in NOT_JUDGED]
    judge = Judge()
    with tempfile.NamedTemporaryFile(suffix='.pcap') as file:
        write_capture(file, alone, packed)
        judge_capture(judge, program, file.name, alone + packed)
    judge_capture(judge, program, capture)
    sys.exit(0 if judge.finish() else 1)


if __name__ == '__main__':
    main()
