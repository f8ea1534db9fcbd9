// A fixture over the recording platform: a router and the transcript of everything done to it.
#ifndef RC_TESTS_UNIT_RECORDED_H
#define RC_TESTS_UNIT_RECORDED_H

#include <gtest/gtest.h>

#include "plan/router/recording.h"
#include "plan/router/settings.h"

class RecordedTest : public testing::Test {
  protected:
    Recording played_;
    Playing playing_{played_};

    void set(const Settings& settings) {
        played_.world.put(working_copy, settings_image(settings));
    }
    std::string transcript() const { return played_.transcript.text(); }
};

#endif
