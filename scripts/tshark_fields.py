"""What qorldp and tshark tell of an LDP message, in one form: {key of qorldp: value}.

Keys are those of docs/qorldp-json.md, of inner objects joined with a dot. Names of bits are bits.
"""
import collections
import struct

NOTIFICATION, ADDRESS_WITHDRAW, GENERALIZED = 0x0001, 0x0301, 'Generalized PWid'


# ---- A value of qorldp from a field of tshark


def number(field):
    return int(field.get('show'), 0)


def shown(field):
    return field['show'].upper()


def dotted(octets):
    return '.'.join(str(octet) for octet in octets)


def octets_of(field):
    return bytes.fromhex(field.get('value', ''))


def agi(field):
    kind, _, *value = octets_of(field)
    layout, text = {0: ('!HI', '%d:%d'), 1: ('!IH', '0x%08x:%d'),
                    2: ('!HHH', '%d.%d : %d')}.get(kind, ('!IH', '%d:%d'))
    return text % struct.unpack(layout, bytes(value))


def escaped(field):
    text = octets_of(field).split(b'\0')[0]
    return ''.join(chr(c) if 32 <= c < 127 and c != 92 else f'\\x{c:02X}' for c in text)


# ---- Which field of tshark stands for a key: a number, a sum of weighted numbers, or a form of one

FIELDS = {
    'lsr_id': ('hdr.ldpid.lsr', shown), 'label_space': 'hdr.ldpid.lsid',
    'type': 'msg.type', 'u_bit': 'msg.ubit', 'id': 'msg.id',
    'length': ('msg.len', lambda field: number(field) + 4),
    'fec.type': ('fec.type', lambda field: {128: 'PWid', 129: GENERALIZED}.get(number(field))),
    'fec.pw_type': 'fec.pw.pwtype', 'fec.control_word': 'fec.pw.controlword',
    'fec.whole_group': ('fec.pw.infolength', lambda field: number(field) == 0),
    'fec.group_id': {'fec.pw.groupid': 1, 'pwgrouping.value': 1}, 'fec.pw_id': 'fec.pw.pwid',
    'fec.agi': ('fec.gen.agi.value', agi),
    'fec.saii': ('fec.gen.saii.value', lambda field: dotted(octets_of(field))),
    'fec.taii': ('fec.gen.taii.value', lambda field: dotted(octets_of(field))),
    'label': 'generic.label', 'label_request_id': 'lbl_req_msg_id', 'pw_status': 'pwstatus.code',
    'pw_status_names': {'pwstatus.code.pwnotforward': 1, 'pwstatus.code.pwlacingressrecvfault': 2,
                        'pwstatus.code.pwlacegresstransfault': 4,
                        'pwstatus.code.pwpsnpwingressrecvfault': 8,
                        'pwstatus.code.pwpsnpwegresstransfault': 16},
    'status.code': 'status.data', 'status.fatal': 'status.ebit', 'status.forward': 'status.fbit',
    'status.message_type': 'status.msg.type', 'status.message_id': 'status.msg.id',
    'macs': ('mac', shown), 'path_vector': ('pv.lsrid', shown),
}
LISTS = ['macs', 'path_vector']

# Interface parameters have one name more in front, by where they stand: in a PWid element or in a
# TLV of their own. Of some tshark shows less than their octets.
IN_ELEMENT, IN_TLV = 'fec.vc.intparam.', 'intparam.'
OCTETS = {'0x09': 'fragment', '0x0c': 'vccv', '0x17': 'flow'}
PARAMETERS = {
    'mtu': 'mtu', 'max_atm_cells': 'maxatm', 'payload_bytes': 'cepbytes', 'bit_rate': 'tdmbps',
    'fragment': 'fragment', 'description': ('desc', escaped),
    'cep_options': {'cepopt_ais': 0x8000, 'cepopt_une': 0x4000, 'cepopt_rtp': 0x2000,
                    'cepopt_ebm': 0x1000, 'cepopt_mah': 0x800, 'cepopt_res': 0x20,
                    'cepopt_ceptype': 4, 'cepopt_t3': 2, 'cepopt_e3': 1},
    # Of CEP or TDM options; the lowest reserved bit is mode 2 and goes first.
    'rtp_mode': {'cepopt_rtp': 1, 'tdmopt_r': 1, 'cepopt_res': 2, 'tdmopt_res1': 2},
    'vccv_cc': ('vccv', lambda field: number(field) >> 8),
    'vccv_cc_names': {'vccv.cctype_cw': 1, 'vccv.cctype_mplsra': 2, 'vccv.cctype_ttl1': 4},
    'vccv_cv': ('vccv', lambda field: number(field) & 0xFF),
    'vccv_cv_names': {'vccv.cvtype_icmpping': 1, 'vccv.cvtype_lspping': 2, 'vccv.cvtype_bfd': 4,
                      'vccv.cvtype_bfd1': 4, 'vccv.cvtype_bfd2': 8, 'vccv.cvtype_bfd3': 16,
                      'vccv.cvtype_bfd4': 32},
    'flow_label': 'flow', 'flow_label_names': {'flowlabel.t': 0x8000, 'flowlabel.r': 0x4000},
}

# TLVs by whether tshark opens them (or qorldp passes over them); of the others the octets are read.
# MAC TLVs have octets in front of their data.
OPENED = {0x0100, 0x0101, 0x0104, 0x0200, 0x0300, 0x0303, 0x0304, 0x0600, 0x096A, 0x096B, 0x096C}
MAC_TLVS = {0x0404: 0, 0x0405: 0, 0x0406: 1, 0x3E00: 4, 0x3E08: 4, 0x3E09: 5}
MAC_FLAGS = {0x0406, 0x3E09}

HEADER = ['lsr_id', 'label_space', 'type', 'u_bit', 'id', 'length']
KEYS = [*FIELDS, *PARAMETERS, 'interface_parameters_tlv.mtu', 'interface_parameters_tlv.octets',
        'switching_points', 'status_word', 'mac_tlv', 'mac_flags', 'mac_data', 'pw_tag',
        'unknown_tlvs']

# Keys of qorldp that are not compared: when and where, results, names in its own words.
WITHOUT_FIELD = set('kind time transport src src_port dst dst_port stream offset name class code'
                    ' error reason fec.pw_type_name status.name status.message_name'
                    ' mac_tlv_name'.split())

# Fields of tshark that are not compared: types and lengths, octets that are read as said above,
# what qorldp passes over.
WITHOUT_KEY = set(
    'hdr.version hdr.pdu_len unknown type len value vendor_id experiment_id data addrl.addr_family'
    ' addrl.addr returned.msg.ubit returned.msg.type returned.msg.len returned.msg.id'
    ' returned_message_parameters'.split())
WITHOUT_KEY |= {f'fec.gen.{name}.{part}' for name in ('agi', 'saii', 'taii')
                for part in ('type', 'length')}
WITHOUT_KEY |= {
    prefix + name for prefix in (IN_ELEMENT, IN_TLV) for name in
    'id length tdmopt_d tdmopt_f tdmopt_pt tdmopt_res2 tdmopt_freq flowlabel.res'.split()}

# What a word of a record asks for; the number that stands for nothing; all keys that would then be
# there. More is told by of_record.
RECORD = {
    'type': 'type', 'bodyid': 'id', 'pwtype': 'fec.pw_type', 'cbit': 'fec.control_word',
    'nopwid': 'fec.whole_group', 'group': 'fec.group_id', 'pwid': 'fec.pw_id', 'label': 'label',
    'reqid': 'label_request_id', 'pwstatus': 'pw_status', 'mtu': 'mtu', 'cells': 'max_atm_cells',
    'bitrate': 'bit_rate', 'payload': 'payload_bytes', 'cep': 'cep_options', 'frag': 'fragment',
    'rtp': 'rtp_mode', 'flow': 'flow_label', 'addrlist': 'status_word', 'mactype': 'mac_tlv',
    'macflags': 'mac_flags', 'statusid': 'status.message_id', 'statustype': 'status.message_type'}
NONE = {'label': 0xFFFFFFFF, 'pwstatus': 0xFFFFFFFF, 'rtp': 0xFF}
ASKED = {key for key in RECORD.values() if not key.startswith('status.')} | {
    'fec.saii', 'fec.taii', 'vccv_cc', 'vccv_cv', 'description'}

# The bits that qorldp names: RFC 4446 section 3.5, RFC 6870, RFC 5085, RFC 5885, RFC 6391.
BITS = {
    'not forwarding': 1, 'attachment circuit receive fault': 2,
    'attachment circuit transmit fault': 4, 'PSN-facing receive fault': 8,
    'PSN-facing transmit fault': 16, 'forwarding standby': 32,
    'control word': 1, 'router alert label': 2, 'TTL expiry': 4,
    'ICMP ping': 1, 'LSP ping': 2, 'BFD over IP, detection': 4,
    'BFD over IP, detection and signalling': 8, 'BFD, detection': 16,
    'BFD, detection and signalling': 32, 'transmit': 0x8000, 'receive': 0x4000,
}


def names(spec):
    return [spec] if isinstance(spec, str) else spec[:1] if isinstance(spec, tuple) else list(spec)


NAMED = WITHOUT_KEY.union(
    *(names(spec) for spec in FIELDS.values()),
    {prefix + name for prefix in (IN_ELEMENT, IN_TLV) for spec in PARAMETERS.values()
     for name in names(spec)})


# ---- The two forms


def without_empty(values):
    """The values but for those that qorldp leaves out when they are 0."""
    optional = {'fec.whole_group', 'status_word'}
    if values.get('fec.type') == GENERALIZED:
        optional.add('fec.group_id')
    return {key: value for key, value in values.items()
            if value or key not in optional and key.split('.')[-1] not in PARAMETERS}


def of_qorldp(item, prefix=''):
    """The values of a JSON object."""
    values = {}
    for name, value in item.items():
        key = prefix + name
        if key in WITHOUT_FIELD:
            continue
        if isinstance(value, dict):
            values |= of_qorldp(value, key + '.')
        elif name.endswith('_names'):
            values[key] = sum(BITS[bit] for bit in value)
        elif isinstance(value, list) and value and isinstance(value[0], dict):
            values[key] = [tuple(row.values()) for row in value]
        else:
            values[key] = value
    return without_empty(values)


def of_record(text):
    """The values that the words of a record ask for."""
    words = dict(word.split('=', 1) for word in text.split())
    values = {key: int(words[name]) for name, key in RECORD.items()
              if name in words and int(words[name]) != NONE.get(name)}
    for name, key in (('sai', 'fec.saii'), ('tai', 'fec.taii')):
        if name in words:
            values[key] = dotted(int(words[name]).to_bytes(4, 'big'))
    if 'vccv' in words:
        values['vccv_cc'], values['vccv_cv'] = divmod(int(words['vccv']), 256)
    if 'cep' in words:
        values['rtp_mode'] = 2 if values['cep_options'] & 0x20 else values['cep_options'] >> 13 & 1
    if 'desc' in words:
        values['description'] = escaped({'value': words['desc']})
    if 'status' in words:
        error = int(words.get('flags', 0)) & 1
        values['status.code' if error else 'pw_status'] = int(words['status'])
    return without_empty(values)


class Message:
    """A message of tshark's PDML: its fields with their attributes, its TLVs as (type, U and F bit,
    octets), and the errors that tshark found in its packet."""

    def __init__(self, pdu, node, errors):
        self.octets, self.errors = octets_of(node), errors
        self.fields, self.tlvs = collections.defaultdict(list), []
        for field in pdu.iterfind('field'):
            self.add(field)
        self.collect(node)

    def add(self, field):
        name = field.get('name')
        if name.startswith('ldp.'):
            self.fields[name.removeprefix('ldp.').removeprefix('msg.tlv.')].append(field.attrib)

    def collect(self, node):
        """Takes what stands below a node; a field without a name encloses others."""
        for field in node.iterfind('field'):
            self.add(field)
            if not field.get('name') and len(field) > 1:
                self.enclose(field.get('value', ''), *field[:2])
            self.collect(field)

    def enclose(self, octets, first, second):
        name = first.get('name').removeprefix('ldp.msg.tlv.')
        if name == 'unknown':
            self.tlvs.append((number(second), number(first), bytes.fromhex(octets[8:])))
        elif name.endswith('intparam.id') and first.get('show') in OCTETS:
            name = name.removesuffix('id') + OCTETS[first.get('show')]
            self.fields[name].append({'show': '0x' + octets[4:]})

    def read(self, spec, prefix=''):
        if isinstance(spec, tuple):
            return [spec[1](field) for field in self.fields.get(prefix + spec[0], [])]
        weights = spec if isinstance(spec, dict) else {spec: 1}
        columns = [[number(field) * weight for field in self.fields[prefix + name]]
                   for name, weight in weights.items() if prefix + name in self.fields]
        return [sum(row) for row in zip(*columns, strict=True)]

    def values(self):
        """The values by key; several of one key are a list."""
        found = {key: self.read(spec) for key, spec in FIELDS.items()}
        # Behind a Generalized PWid element the parameters stand in their TLV only.
        general = found['fec.type'] == [GENERALIZED]
        for key, spec in PARAMETERS.items():
            found[key] = self.read(spec, IN_TLV if general else IN_ELEMENT)
            if not general:
                found['interface_parameters_tlv.' + key] = self.read(spec, IN_TLV)
        values = {key: items if key in LISTS or len(items) > 1 else items[0]
                  for key, items in found.items() if items}
        if 'rtp_mode' in values:
            values['rtp_mode'] = 2 if values['rtp_mode'] & 2 else values['rtp_mode'] & 1
        for tlv in self.tlvs:
            add_octets(values, *tlv)
        if values['type'] != NOTIFICATION and 'status.code' in values:
            values['status_word'] = values['status.code']
        about = values.get('status.message_type') or values.get('status.message_id')
        return without_empty({
            key: value for key, value in values.items() if not key.startswith('status.') or
            values['type'] == NOTIFICATION and (about or not key.startswith('status.message'))})


def add_octets(values, kind, bits, octets):
    """Adds what stands in a TLV that tshark does not open."""
    text = octets.hex().upper()
    withdraw = values['type'] == ADDRESS_WITHDRAW
    if kind == 0x096D:  # PW ID and peer of each switching point (RFC 6073 section 7.4)
        values['switching_points'] = [
            (dotted(octets[at + 8:at + 12]), int.from_bytes(octets[at + 2:at + 6], 'big'))
            for at in range(0, len(octets), 12)]
    elif kind == 0x096B and values['fec.type'] != GENERALIZED:
        values['interface_parameters_tlv.octets'] = text
    elif withdraw and kind in MAC_TLVS:  # the last one counts
        values['mac_tlv'] = kind
        if kind in MAC_FLAGS:
            values['mac_flags'] = octets[MAC_TLVS[kind] - 1]
        if kind == 0x0404:
            values.setdefault('macs', [])
            return
        if values.get('macs') == []:
            del values['macs']
        if octets[MAC_TLVS[kind]:]:
            values['mac_data'] = text[2 * MAC_TLVS[kind]:]
    elif withdraw and kind == 0x3E0A:
        values['pw_tag'] = text[8:]
    elif withdraw and kind not in OPENED and bits == 3:
        values.setdefault('unknown_tlvs', []).append((kind, text))
    elif kind not in OPENED:
        values[f'TLV {kind:#06x}'] = text
