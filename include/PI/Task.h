#pragma once

#include "PI/Export.h"
#include "PI/Object.h"

#include <RVX/Strings.h>

#include <string>

namespace PI {

// A task kept by the management system. It is a managed object of its own
// kind; a new task is stamped with the current time (Time1), so two tasks
// made at different moments differ until one is assigned from the other.
class PI_API CTask : public CObject {
public:
    RVX::Strings::TString<16> Text1;
    RVX::Strings::TString<16> Text2;
    RVX::Strings::TString<16> Text3;
    unsigned long long Attribute1;
    int Attribute2;
    unsigned long long Time1; // creation time, from RVXX::CSystemTime_Lx::Now()
    unsigned long long Time2;
    unsigned long long Time3;
    unsigned long long Attribute3;
    int Attribute4;
    int Attribute5;
    bool Flag;
    int Attribute6;
    int Attribute7;

    CTask();
    CTask(const CTask& other);
    CTask(CTask&& other) noexcept;
    CTask& operator=(const CTask& other);
    CTask& operator=(CTask&& other) noexcept;
    ~CTask() override;

    // The task's own fields first, then the object part.
    bool operator==(const CTask& other) const;
    bool operator!=(const CTask& other) const { return !(*this == other); }
};

// One partition: two 64-bit numbers, one 32-bit number and two texts.
class PI_API CPartition {
public:
    unsigned long long Attribute1;
    unsigned long long Attribute2;
    int Attribute3;
    std::string Text1;
    std::string Text2;

    CPartition();
    CPartition(const CPartition& other);
    CPartition(CPartition&& other) noexcept;
    CPartition& operator=(const CPartition& other);
    CPartition& operator=(CPartition&& other) noexcept;
    virtual ~CPartition();

    bool operator==(const CPartition& other) const;
    bool operator!=(const CPartition& other) const { return !(*this == other); }
};

// One result of a pass-through command. Compared only as part of an
// operation, by Value.
class PI_API CPassThrough {
public:
    unsigned long long Value = 0;

    CPassThrough() = default;
    CPassThrough(const CPassThrough&) = default;
    CPassThrough(CPassThrough&&) noexcept = default;
    CPassThrough& operator=(const CPassThrough&) = default;
    CPassThrough& operator=(CPassThrough&&) noexcept = default;
    virtual ~CPassThrough();
};

} // namespace PI
