#pragma once

#include "tests/support/Printers.h"
#include "tests/support/Traces.h"

/// Standard output from construction to lines(), without the log's "FilePath: " lines.
class CapturedOutput
{
public:
    CapturedOutput() { testing::internal::CaptureStdout(); }
    ~CapturedOutput()
    {
        if (!m_taken)
            testing::internal::GetCapturedStdout();
    }
    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    [[nodiscard]] QStringList lines()
    {
        m_taken = true;
        return capturedLines();
    }

private:
    bool m_taken = false;
};
