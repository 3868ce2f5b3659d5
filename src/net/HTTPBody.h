// Reading the bodies of messages from a Transport: a number of bytes, all up to the end, chunks, or one DER object.
#pragma once

#include <cstdint>

#include "keystrand/der/Buffer.h"
#include "net/Transport.h"

namespace keystrand {

// Appends n bytes. The buffer grows as they come, so that a peer that announces too many costs only what it sends;
// false beyond kBodyLimit, and for a peer that sends drop by drop.
bool readBody(Transport& peer, Buffer& body, std::uint64_t n);
// Appends what comes until the peer closes, a timeout strikes, or the buffer, which does not grow, is full.
void readToEnd(Transport& peer, Buffer& body);
// Appends the chunks (RFC 9112 section 7.1). A chunk of size 0 is as good as any: the body ends where no further byte
// is there at once, so that a server that pauses between two chunks is cut off. False for a size that is none or has
// more than six digits, and for a chunk that breaks off.
bool readChunks(Transport& peer, Buffer& body);
// A zero byte behind the text, counted in size().
void terminate(Buffer& body);

enum class TextBody { decode, keep };
// One object whose length its own DER header tells, whatever the message announced. Anything that does not begin with
// a SEQUENCE is Base64 text up to the end, or as much of it as the buffer has room for; kept or replaced by what it
// stands for. False for an object that breaks off, with what has come, and for a text that stands for nothing.
bool readObject(Transport& peer, Buffer& body, TextBody text);

}  // namespace keystrand
