// Probe points for tracers: bpftrace, perf, SystemTap, gdb. Their provider is
// "pseudowirecorra":
//
//     mutation      entity, number of the attribute, key or null: it changed, and its reactors
//                   are about to hear of it
//     message_in    connection, number of the message, bytes of its payload: a whole one came
//     message_out   the same, of one that is about to be written
//
// Entity, connection and key are addresses; what an entity's first word points at is named
// after its type. A message about an attribute has the attribute's number.
//
// They are there where <sys/sdt.h> (Debian package systemtap-sdt-dev) was included before: the
// option -include sys/sdt.h does that for a program, cmake -DCORRA_PROBES=ON for the library.
// One that nobody listens to costs a no-op, and having its arguments at hand. Without, they are
// no code. Mutators are inline: those that a program compiles have probes when it is compiled
// so.

#pragma once

#if defined(STAP_PROBE3)
// The probe of that name, and what it says.
#define ZIN_PROBE(name, subject, number, detail) \
    STAP_PROBE3(pseudowirecorra, name, subject, number, detail)
#else
// The probe of that name, and what it says: none here.
#define ZIN_PROBE(name, subject, number, detail) static_cast<void>(0)
#endif
