#pragma once

// The interchange form of the records: one lossless JSON and MessagePack
// encoding of every record class, described in docs/interchange.md.
//
// Two levels:
//  - a document: {"Version": 1, "<class name>": <record>}. It says which
//    class it holds, so ReadJsonDocument / ReadMsgPackDocument can read a
//    record of any class;
//  - a value: the record alone, as it appears inside a document or inside
//    another record (an element of an operation's lists, say). Tools that
//    embed records in documents of their own (a diff of two records) use it.
//
// Every function returns 0 or one of the INTERCHANGE_* codes below (or
// RESULT_OUT_OF_MEMORY) and fills the optional error with the JSON Pointer of
// the first offending element and what was expected there. A decoder leaves
// its output record untouched unless it returns 0; an encoder appends to its
// output only when it returns 0. No exception leaves any of them.

#include "PI/Export.h"
#include "PI/Identifiers.h"
#include "PI/InterchangeError.h"
#include "PI/ObjectModel.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace PI {

// The format version that this library writes and the only one it reads.
constexpr unsigned int INTERCHANGE_VERSION = 1;

// The record classes in the order of AnyRecord's alternatives.
enum class ERecordClass : unsigned int {
    Property,
    Object,
    Task,
    Drive,
    Container,
    LogicalDrive,
    Level,
    Migration,
    Partition,
    PassThrough,
    Event,
    Operation,
};
constexpr unsigned int RECORD_CLASS_COUNT = 12;

// A record of any class, as a document of unknown class decodes into.
using AnyRecord = std::variant<CProperty, CObject, CTask, CDrive, CContainer, CLogicalDrive, CLevel,
                               CMigration, CPartition, CPassThrough, CEvent, COperation>;

// The class name as a document names it ("CProperty", ..., "COperation").
PI_API const char* RecordClassName(ERecordClass recordClass) noexcept;
// The class of a name as above; false (and `recordClass` untouched) for
// any other text.
PI_API bool RecordClassFromName(const char* name, size_t length,
                                ERecordClass& recordClass) noexcept;
inline ERecordClass RecordClassOf(const AnyRecord& record) noexcept {
    return static_cast<ERecordClass>(record.index());
}

// Limits of the decoders (the format page gives the reasons).
constexpr size_t INTERCHANGE_MAX_INPUT = size_t(1) << 30; // bytes of one document or value
constexpr unsigned int INTERCHANGE_MAX_DEPTH = 32;        // nested objects and arrays
// Records built while decoding may take at most this many bytes per input
// byte, plus INTERCHANGE_MEMORY_BASE. The most a valid input needs is an empty
// event in MessagePack: one byte for a whole CEvent.
constexpr size_t INTERCHANGE_MEMORY_PER_BYTE = 640;
constexpr size_t INTERCHANGE_MEMORY_BASE = size_t(1) << 20;

// Encoding. `Record` is one of the twelve classes of AnyRecord. The text or
// bytes are appended to `out`. Encoding fails only for a property whose
// block is present but malformed for its kind (INTERCHANGE_BAD_BLOCK; such a
// block can only come from writing the public fields directly) and when
// memory runs out.
template <class Record>
PI_API unsigned int WriteJsonDocument(const Record& record, std::string& out,
                                      CInterchangeError* error = nullptr);
template <class Record>
PI_API unsigned int WriteMsgPackDocument(const Record& record, std::vector<std::uint8_t>& out,
                                         CInterchangeError* error = nullptr);
template <class Record>
PI_API unsigned int WriteJsonValue(const Record& record, std::string& out,
                                   CInterchangeError* error = nullptr);
template <class Record>
PI_API unsigned int WriteMsgPackValue(const Record& record, std::vector<std::uint8_t>& out,
                                      CInterchangeError* error = nullptr);

// Decoding into a record of a known class. A document of another class is
// refused with INTERCHANGE_WRONG_CLASS.
template <class Record>
PI_API unsigned int ReadJsonDocument(const char* text, size_t length, Record& out,
                                     CInterchangeError* error = nullptr);
template <class Record>
PI_API unsigned int ReadMsgPackDocument(const std::uint8_t* bytes, size_t length, Record& out,
                                        CInterchangeError* error = nullptr);
template <class Record>
PI_API unsigned int ReadJsonValue(const char* text, size_t length, Record& out,
                                  CInterchangeError* error = nullptr);
template <class Record>
PI_API unsigned int ReadMsgPackValue(const std::uint8_t* bytes, size_t length, Record& out,
                                     CInterchangeError* error = nullptr);

// Decoding a document of any class: `out` takes the record, whose class
// RecordClassOf tells.
PI_API unsigned int ReadJsonDocument(const char* text, size_t length, AnyRecord& out,
                                     CInterchangeError* error = nullptr);
PI_API unsigned int ReadMsgPackDocument(const std::uint8_t* bytes, size_t length, AnyRecord& out,
                                        CInterchangeError* error = nullptr);

// Conveniences over the forms above.
template <class Record>
unsigned int ReadJsonDocument(const std::string& text, Record& out,
                              CInterchangeError* error = nullptr) {
    return ReadJsonDocument(text.data(), text.size(), out, error);
}
template <class Record>
unsigned int ReadMsgPackDocument(const std::vector<std::uint8_t>& bytes, Record& out,
                                 CInterchangeError* error = nullptr) {
    return ReadMsgPackDocument(bytes.data(), bytes.size(), out, error);
}
template <class Record>
unsigned int ReadJsonValue(const std::string& text, Record& out,
                           CInterchangeError* error = nullptr) {
    return ReadJsonValue(text.data(), text.size(), out, error);
}
template <class Record>
unsigned int ReadMsgPackValue(const std::vector<std::uint8_t>& bytes, Record& out,
                              CInterchangeError* error = nullptr) {
    return ReadMsgPackValue(bytes.data(), bytes.size(), out, error);
}

} // namespace PI
