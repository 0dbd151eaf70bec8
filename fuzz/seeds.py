#!/usr/bin/env python3
"""Writes the seed inputs of fuzz/corpus/ (files named seed-*): the example documents and the
byte-exact test vectors of the tests, each behind the option byte its target reads first.
Inputs that libFuzzer found are kept beside them under other names; this script leaves them
alone. Run from anywhere: python3 fuzz/seeds.py"""

import os
import re
import struct
import zlib

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
CORPUS = os.path.join(ROOT, "fuzz", "corpus")


def example(name):
    with open(os.path.join(ROOT, "examples", name), "rb") as f:
        return f.read()


def be32(value):
    return struct.pack(">i", value) if value < 0x80000000 else struct.pack(">I", value)


def counted(data):
    return be32(len(data)) + data


def compressed(frame):
    return bytes.fromhex("4B56545A") + counted(zlib.compress(frame, 9))


def entry(tag, payload):
    return be32(tag) + be32(len(payload)) + payload


def frame(tag, entries):
    body = b"".join(entries)
    return be32(tag) + be32(len(body)) + body


SETTINGS, BEARING, DETAIL = 0x5DF5F465, 0x856C9896, 0xF9EA2157
LIST, NAME, BEARING_VT_PATH, FREQUENCY = 0x09751B80, 0x58D44D66, 0x322B5285, 0xA97DB5BE

# The tests' byte-exact detail frames (tagless: length, then the entries).
FULLY_SET_DETAIL = bytes.fromhex(
    "0000013A" "58D44D66000000050000000144" "CFF2FA5F000000080000000000000003"
    "36B1CFF800000008000000044C454654" "0B576A3200000006000000024F4E"
    "C896F956000000080000000447415445" "3C393B74000000090000000531204D487A"
    "C73B3D20000000080000000000000007" "5CC6C90800000008000000044155544F"
    "08B36734000000202D99DCB90000000800000004312E3030" "7ADC955A0000000800000004322E3030"
    "45A23BD6000000090000000535204D487A" "375806BF000000080000000000000004"
    "60866F2C00000009000000055348415250" "E7B0B2F800000008FFFFFFFFFFFFFFFF"
    "02A425960000001C00000018323032342D30332D3031543132" "3A33303A30352C3235305A"
    "8C96189800000008000000044155544F" "5C505A010000000800000004312E3530"
    "4B68079A0000000800000004322E3235")
DEFAULT_DETAIL = bytes.fromhex(
    "000000EE" "36B1CFF8000000080000000456455254" "0B576A3200000007000000034F4646"
    "C896F95600000007000000034F4646" "3C393B740000000C0000000831322E353020487A"
    "C73B3D2000000008000000000000000A" "5CC6C9080000000F0000000B434F5252454C4154494F4E"
    "45A23BD60000000A000000063830204D487A" "375806BF000000080000000000000000"
    "60866F2C0000000A000000064E4F524D414C" "E7B0B2F8000000080000000000000014"
    "02A4259600000004FFFFFFFF" "8C9618980000000A000000064D414E55414C"
    "5C505A01000000090000000531302E3030" "4B68079A0000000A000000063130302E3030")

settings_xml = example("settings.xml")
settings_bin = example("settings.bin")
bearing_xml = example("bearing-settings.xml")
bearing_bin = example("bearing-settings.bin")
detail_xml = re.search(rb"<KVT317SettingsDetail .*?</KVT317SettingsDetail>", settings_xml,
                       re.S).group(0)
# The first detail of the example's list: its length, then its entries.
first_length = struct.unpack(">i", settings_bin[16:20])[0]
detail_bin = be32(DETAIL) + settings_bin[16:20 + first_length]

deep = b"<n>" * 300 + b"</n>" * 300
empty_items = frame(SETTINGS, [entry(LIST, be32(5) + b"\0" * 20)])
odd_texts = frame(BEARING, [entry(NAME, counted(b"a\x01b\rc")),
                            entry(FREQUENCY, counted(b"1.000000000")),
                            entry(BEARING_VT_PATH, counted(b" \tC:\\x\r\ny \xef\xbf\xbe"))])
unknown_entry = frame(BEARING, [entry(0x12345678, b"xyz"), entry(FREQUENCY, counted(b"2"))])

xml_documents = {
    "settings": {
        "example": settings_xml,
        "deep-member": settings_xml.replace(b"<Threshold>10", b"<Threshold>10" + deep, 1),
        "deep-unknown": settings_xml.replace(b"<AntPreAmp>", b"<U>" + deep + b"</U><AntPreAmp>", 1),
        "deep-root": settings_xml.replace(b"<KVT317SettingsDetail", deep + b"<KVT317SettingsDetail", 1),
        "same-name-two-deep": settings_xml.replace(
            b"<AntPreAmp>", b"<U><KVT317SettingsDetail><U/></KVT317SettingsDetail></U><AntPreAmp>", 1),
        "same-name-nested": settings_xml.replace(
            b"<AntPreAmp>", b"<U><x/><U><Threshold>3</Threshold></U></U><AntPreAmp>", 1),
        "empty-items": b"<KVT317_Settings>" + b"<KVT317SettingsDetail/>" * 3 + b"</KVT317_Settings>",
        "character-references": settings_xml.replace(b'Name="VHF airband"', b'Name="&#13;&#9; x "', 1),
    },
    "bearing": {
        "example": bearing_xml,
        "carriage-return": bearing_xml.replace(b"bearing.vt<", b"bearing&#13;.vt<", 1),
        "unwritable-reference": bearing_xml.replace(b"bearing.vt<", b"bearing&#1;.vt<", 1),
    },
    "detail": {
        "example": b'<?xml version="1.0"?>\n' + detail_xml,
        "deep-member": detail_xml.replace(b"<Threshold>10", b"<Threshold>10" + deep, 1),
    },
}
binary_documents = {
    "settings": {
        "example": settings_bin,
        "example-compressed": example("settings.binz"),
        "empty-items": empty_items,
        "empty-items-compressed": compressed(empty_items),
        "huge-count": bytes.fromhex("5DF5F465 0000000C 09751B80 7FFFFFFF 7FFFFFFF"),
        "int-min-payload": bytes.fromhex("5DF5F465 0000000C 09751B80 80000000 00000001"),
        "truncated": settings_bin[:600],
    },
    "bearing": {
        "example": bearing_bin,
        "example-compressed": compressed(bearing_bin),
        "odd-texts": odd_texts,
        "unknown-entry": unknown_entry,
    },
    "detail": {
        "example": detail_bin,
        "fully-set": be32(DETAIL) + FULLY_SET_DETAIL,
        "defaults": be32(DETAIL) + DEFAULT_DETAIL,
        "defaults-compressed": compressed(be32(DETAIL) + DEFAULT_DETAIL),
    },
}


def write(target, name, data):
    directory = os.path.join(CORPUS, target)
    os.makedirs(directory, exist_ok=True)
    with open(os.path.join(directory, "seed-" + name), "wb") as f:
        f.write(data)


for form, documents in (("xml", xml_documents), ("binary", binary_documents)):
    for record, named in documents.items():
        for name, document in named.items():
            # Option byte: bit 0 validation, bit 1 the other entry point of the form.
            write(f"{record}_{form}", name, b"\x00" + document)
            write(f"{record}_{form}", name + "-validating", b"\x01" + document)
            write(f"{record}_{form}", name + "-other-entry", b"\x02" + document)

# Round trip: bits 0-1 the record, bit 2 validation, bits 3-4 the written form.
for kind, record in enumerate(("settings", "bearing", "detail")):
    for form_bits, form in ((0, "to-xml"), (1, "to-binary"), (2, "to-compressed")):
        for name, document in list(xml_documents[record].items()) + [
                ("binary-" + n, d) for n, d in binary_documents[record].items()]:
            for validate in (0, 1):
                option = kind | (validate << 2) | (form_bits << 3)
                suffix = "-validating" if validate else ""
                write("roundtrip", f"{record}-{name}-{form}{suffix}", bytes([option]) + document)
