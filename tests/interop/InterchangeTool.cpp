// Random records of several classes in both formats, for the interop test
// with Python's readers (pitool converts the format page's examples and reads
// back what Python writes).
//
//   interchange_tool <seed> <count> <directory>
#include "RecordGenerator.h"

#include <PI/Interchange.h>

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

template <class Record> bool WriteBoth(const Record& record, const std::string& stem) {
    std::string json;
    std::vector<std::uint8_t> packed;
    PI::CInterchangeError error;
    if (PI::WriteJsonDocument(record, json, &error) != 0 ||
        PI::WriteMsgPackDocument(record, packed, &error) != 0) {
        std::cerr << stem << ": " << error.Text() << "\n";
        return false;
    }
    std::ofstream(stem + ".json", std::ios::binary) << json;
    std::ofstream(stem + ".msgpack", std::ios::binary) << std::string(packed.begin(), packed.end());
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    PI::Testing::RecordGenerator generator(std::stoull(argv[1]));
    for (int i = 0; i < std::stoi(argv[2]); ++i) {
        const std::string stem = std::string(argv[3]) + "/random" + std::to_string(i);
        if (!(i % 2 == 0 ? WriteBoth(generator.Operation(), stem)
                         : WriteBoth(generator.Record<PI::CTask>(), stem)))
            return 1;
    }
    return 0;
}
