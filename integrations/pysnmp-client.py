#!/usr/bin/python3
"""Talks to a lab switch with pysnmp, an SNMP engine written in Python (Debian: python3-pysnmp4)."""

import argparse
import signal

from pysnmp.hlapi import (
    CommunityData, ContextData, ObjectIdentity, ObjectType, OctetString, SnmpEngine,
    UdpTransportTarget, UsmUserData, bulkCmd, setCmd, usmAesCfb128Protocol, usmHMACSHAAuthProtocol)

# Whoever reads the output may stop at any line.
signal.signal(signal.SIGPIPE, signal.SIG_DFL)
parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("protocol", choices=["v2c", "v3"])
parser.add_argument("endpoint", metavar="HOST:PORT")
verbs = parser.add_subparsers(dest="verb", required=True)
walk = verbs.add_parser("walk", help="print OID and value of all below OID")
walk.add_argument("oid")
write = verbs.add_parser("set", help="write a text and print it")
write.add_argument("oid")
write.add_argument("text")
arguments = parser.parse_args()

if arguments.protocol == "v3":
    who = UsmUserData("operator", "lab-authentication", "lab-encryption",
                      authProtocol=usmHMACSHAAuthProtocol, privProtocol=usmAesCfb128Protocol)
else:
    who = CommunityData("private" if arguments.verb == "set" else "public")
host, _, port = arguments.endpoint.partition(":")
switch = SnmpEngine(), who, UdpTransportTarget((host, int(port))), ContextData()
identity = ObjectIdentity(arguments.oid)
if arguments.verb == "walk":
    answers = bulkCmd(*switch, 0, 25, ObjectType(identity), lexicographicMode=False,
                      lookupMib=False)
else:
    answers = setCmd(*switch, ObjectType(identity, OctetString(arguments.text)), lookupMib=False)
for failure, error, _, bindings in answers:
    if failure or error:
        raise SystemExit(str(failure) if failure else error.prettyPrint())
    for name, value in bindings:
        print(name, value.prettyPrint())
