#include "platform/fake/FakePlatform.h"

FakePlatform::FakePlatform(std::filesystem::path applicationSupport, Moment start)
    : files(calls, std::move(applicationSupport))
    , time(calls, start)
{
}

// Tests serve it step by step.
int FakePlatform::run()
{
    runDeferred();
    return 0;
}
