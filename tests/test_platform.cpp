// The platform layer: format stream, exceptions and their per-thread state,
// trace sink and mask, language strings, critical sections.
#include <RVX/Exceptions.h>
#include <RVX/FormatStream.h>
#include <RVX/Language.h>
#include <RVX/Strings.h>
#include <RVX/Sync.h>
#include <RVX/Trace.h>

#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

using namespace RVX;

namespace {

std::string Fmt(const char* format, int a, int b) {
    std::string out;
    Output_Streams::CFormatStream(out, format).FormatInt(a).FormatInt(b);
    return out;
}

} // namespace

TEST(FormatStream, FillsConversionsInOrderAndKeepsTheTail) {
    EXPECT_EQ(Fmt("Property %d has type=%d!", 23067, 4), "Property 23067 has type=4!");
    EXPECT_EQ(Fmt("%d|%u", -5, -1), "-5|4294967295");
    EXPECT_EQ(Fmt("[%02X %x]", 0x0F, 0xAB), "[0F ab]");
    EXPECT_EQ(Fmt("%5d|%-4d|", 42, 7), "   42|7   |");
    EXPECT_EQ(Fmt("%05d", -42, 0), "-0042");
    EXPECT_EQ(Fmt("100%% %d", 1, 2), "100% 1");
    // A missing argument leaves its conversion out; a lone % at the end is text.
    std::string out;
    Output_Streams::CFormatStream(out, "a%db%dc").FormatInt(1);
    EXPECT_EQ(out, "a1bc");
    Output_Streams::CFormatStream(out, "x%").Finish();
    EXPECT_EQ(out, "x%");
    Strings::CStringVar text("stale");
    text.Format("T:%s").FormatStr(Strings::CStringRef("abc"));
    EXPECT_EQ(text, "T:abc");
    Output_Streams::CFormatStream(out, "%d %d")
        .FormatInt64(18446744073709551615ULL)
        .FormatInt64(static_cast<long long>(-9223372036854775807LL - 1));
    EXPECT_EQ(out, "-1 -9223372036854775808");
    Output_Streams::CFormatStream(out, "%llu").FormatInt64(18446744073709551615ULL);
    EXPECT_EQ(out, "18446744073709551615");
}

class ExceptionFacility : public ::testing::Test {
protected:
    static constexpr unsigned kModule = 4242;
    Misc::CModuleInfo module{kModule, "test", "1.0"};
};

TEST_F(ExceptionFacility, ThrowCarriesCodeAndSourceRecords) {
    const Exceptions::SOURCE_INFO start{"Src/Here", 10, kModule};
    const Exceptions::SOURCE_INFO next{"Src/There", 20, kModule};
    try {
        try {
            Threading::CThrowState::StartException(start);
            Exceptions::CException::Throw(0x21130001);
            FAIL() << "Throw returned while throwing was enabled";
        } catch (...) {
            Threading::CThrowState::ThrowNext(next);
        }
        FAIL() << "ThrowNext did not pass the exception on";
    } catch (const Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), 0x21130001u);
        ASSERT_EQ(e.GetSources().size(), 2u);
        EXPECT_STREQ(e.GetSources()[0].Path, "Src/Here");
        EXPECT_EQ(e.GetSources()[1].Line, 20u);
        for (const char* part : {"0x21130001", "test", "Src/Here:10 <- Src/There:20"})
            EXPECT_NE(std::string(e.what()).find(part), std::string::npos) << e.what();
    }
    // A foreign exception passes unchanged.
    EXPECT_THROW(
        try { throw std::runtime_error("foreign"); } catch (...) {
            Threading::CThrowState::ThrowNext(next);
        },
        std::runtime_error);
}

TEST_F(ExceptionFacility, DisabledThrowReturnsAndGuardRestoresState) {
    const Exceptions::SOURCE_INFO before{"Src/Before", 1, kModule};
    Threading::CThrowState::StartException(before);
    {
        Threading::CDisableThrow disable;
        Threading::CThrowStateGuard guard;
        Threading::CThrowState::StartException({"Src/Inner", 2, kModule});
        Exceptions::CException::Throw(0x21130004); // must return
        EXPECT_EQ(Threading::CThrowState::PendingCode(), 0x21130004u);
    }
    // The guard put back the throw state that was open before, but the
    // suppressed code stays readable.
    EXPECT_STREQ(Internals::CThrowStateData::Current().Start.Path, "Src/Before");
    EXPECT_EQ(Threading::CThrowState::PendingCode(), 0x21130004u);
    EXPECT_EQ(Internals::CThrowStateData::m_DisableCnt, 0u);
    // Enabled again: the next Throw throws.
    EXPECT_THROW(Exceptions::CException::Throw(1), Exceptions::CException);
}

TEST_F(ExceptionFacility, StateIsPerThread) {
    Threading::CDisableThrow disable;
    // Disabling on one thread must not disable another.
    std::thread([] {
        EXPECT_EQ(Internals::CThrowStateData::m_DisableCnt, 0u);
        EXPECT_THROW(Exceptions::CException::Throw(7), Exceptions::CException);
    }).join();
    Exceptions::CException::Throw(8); // disabled here: returns
    EXPECT_EQ(Threading::CThrowState::PendingCode(), 8u);
}

TEST_F(ExceptionFacility, ContinueExceptionLogsAtTheSourceAndEndsIt) {
    std::vector<Internals::TraceRecord> records;
    auto previous =
        Internals::SetTraceSink([&](const Internals::TraceRecord& r) { records.push_back(r); });
    module.SetTraceMask(0x40000000);
    const unsigned before = Internals::CThrowStateData::Current().Continued;
    try {
        throw Exceptions::CException(0x1234);
    } catch (...) {
        Threading::CThrowState::ContinueException({"Src/Config", 77, kModule});
    }
    Internals::SetTraceSink(previous);
    EXPECT_EQ(Internals::CThrowStateData::Current().Continued, before + 1);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].Module, kModule);
    EXPECT_STREQ(records[0].SourcePath, "Src/Config");
    EXPECT_EQ(records[0].Line, 77u);
    EXPECT_NE(records[0].Text.find("0x00001234"), std::string::npos) << records[0].Text;
}

TEST(Trace, SinkReceivesRecordsAndMaskSelectsLevels) {
    Misc::CModuleInfo module(4243, "trace-test", "2.0");
    EXPECT_FALSE(module.IsTraceEnabled(0x40000000)); // silent by default
    module.SetTraceMask(0x40000000 | 0x1);
    EXPECT_TRUE(module.IsTraceEnabled(0x40000000));
    EXPECT_FALSE(module.IsTraceEnabled(0x2));
    EXPECT_EQ(Misc::CModuleInfo::Find(4243), &module);

    std::vector<Internals::TraceRecord> records;
    auto previous =
        Internals::SetTraceSink([&](const Internals::TraceRecord& r) { records.push_back(r); });
    {
        Internals::CTraceStreamBuffer buffer(0x40000000, module, "Src/Objects", 12);
        Output_Streams::CFormatStream(buffer.Text(), "Property %d has no or invalid data!")
            .FormatInt(23067u);
        EXPECT_TRUE(records.empty()); // a record is handed over when it is complete
    }
    Internals::SetTraceSink(previous);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].Level, 0x40000000u);
    EXPECT_EQ(records[0].Module, 4243u);
    EXPECT_EQ(records[0].Line, 12u);
    EXPECT_EQ(records[0].Text, "Property 23067 has no or invalid data!");
}

// The tests that read files, each in a scratch directory of its own.
using PlatformFiles = ScratchDirectoryTest;

TEST_F(PlatformFiles, TraceEnvironmentTargetWritesToFileWithoutSink) {
    const std::string path = m_Dir + "/trace.log";
    setenv("RVX_TRACE", path.c_str(), 1);
    Misc::CModuleInfo module(4245, "env", "0");
    { Internals::CTraceStreamBuffer(1, module, "Src/X", 3).Text() = "hello"; }
    unsetenv("RVX_TRACE");
    EXPECT_NE(ReadBytes(path).find("Src/X:3 hello"), std::string::npos) << ReadBytes(path);
}

TEST_F(PlatformFiles, LanguageTextsFallBackToDecimalAndCatalogueFilesAreAllOrNothing) {
    using Language_Support::CLanguageSupport;
    CLanguageSupport::Clear();
    Strings::CStringVar out("stale");
    EXPECT_FALSE(CLanguageSupport::ResolveString(4294967295u, out));
    EXPECT_EQ(out, "4294967295");
    CLanguageSupport::SetString(1234, "Rebuild started");
    EXPECT_TRUE(CLanguageSupport::ResolveString(1234, out));
    EXPECT_EQ(out, "Rebuild started");
    const std::string good = m_Dir + "/good.cat", bad = m_Dir + "/bad.cat";
    WriteBytes(good, "# catalogue\r\n10=Ten\r\n\n11=two\\nlines\\t\\\\ = x\n");
    WriteBytes(bad, "12=fine\nnot a line\n");
    EXPECT_EQ(CLanguageSupport::LoadCatalogue(good), 2);
    CLanguageSupport::ResolveString(10, out);
    EXPECT_EQ(out, "Ten");
    CLanguageSupport::ResolveString(11, out);
    EXPECT_EQ(out, "two\nlines\t\\ = x");
    EXPECT_EQ(CLanguageSupport::LoadCatalogue(bad), -1);
    EXPECT_FALSE(CLanguageSupport::ResolveString(12, out)); // a malformed file loads nothing
    EXPECT_EQ(CLanguageSupport::LoadCatalogue(m_Dir + "/missing"), -1);
    WriteBytes(bad, "99999999999=too big\n");
    EXPECT_EQ(CLanguageSupport::LoadCatalogue(bad), -1);
    CLanguageSupport::Clear();
}

TEST(Sync, CriticalSectionIsRecursiveAndExcludesOtherThreads) {
    Threading::Native_OS::CCriticalSection section;
    section.Init(1000);
    EXPECT_EQ(section.SpinCount(), 1000u);
    long counter = 0;
    auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            Threading::CSyncGuard outer(section);
            Threading::CSyncGuard inner(section); // re-entry by the same thread
            ++counter;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(counter, 40000);
}
