#!/usr/bin/env node
// Talks to a lab switch with the npm package net-snmp, which has a protocol engine of its own.
// NODE_PATH names the node_modules directory that holds the package.
"use strict";

const snmp = require("net-snmp");

const usage = `Usage: net-snmp-client.js v2c|v3 HOST:PORT walk OID        prints OID and value of all below OID
       net-snmp-client.js v2c|v3 HOST:PORT set OID TEXT    writes a text and prints it
       net-snmp-client.js v2c|v3 HOST:PORT receive         prints the notifications that come there`;

const operator = {
    name: "operator",
    level: snmp.SecurityLevel.authPriv,
    authProtocol: snmp.AuthProtocols.sha,
    authKey: "lab-authentication",
    privProtocol: snmp.PrivProtocols.aes,
    privKey: "lab-encryption",
};

// Whoever reads the output may stop at any line.
process.stdout.on("error", (error) => process.exit(error.code === "EPIPE" ? 0 : 1));

function end(status, text) {
    console.error(text);
    process.exit(status);
}

function show(varbind) {
    const value = snmp.isVarbindError(varbind) ? snmp.varbindError(varbind) : varbind.value;
    return `${varbind.oid} ${value}`;
}

function receive(port, address) {
    const receiver = snmp.createReceiver({ port, address }, (error, notification) => {
        console.log(error ? `refused: ${error.message}`
            : notification.pdu.varbinds.map(show).join(" | "));
    });
    receiver.getAuthorizer()[protocol === "v3" ? "addUser" : "addCommunity"](
        protocol === "v3" ? operator : "public");
}

const [protocol, endpoint, verb, oid, text] = process.argv.slice(2);
const [host, port] = (endpoint || "").split(":");
const expected = { walk: 4, set: 5, receive: 3 }[verb];
if (!["v2c", "v3"].includes(protocol) || !port || process.argv.length - 2 !== expected) {
    end(2, usage);
}
if (verb === "receive") {
    receive(Number(port), host);
    return;
}

const options = {
    port: Number(port),
    version: protocol === "v3" ? snmp.Version3 : snmp.Version2c,
};
const session = protocol === "v3"
    ? snmp.createV3Session(host, operator, options)
    : snmp.createSession(host, verb === "set" ? "private" : "public", options);
const print = (varbinds) => console.log(varbinds.map(show).join("\n"));
const done = (error) => error ? end(1, error.message) : session.close();
if (verb === "walk") {
    session.subtree(oid, print, done);
} else {
    session.set([{ oid, type: snmp.ObjectType.OctetString, value: text }], (error, varbinds) => {
        done(error);
        print(varbinds);
    });
}
