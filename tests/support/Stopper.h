// A notifier that cancels a run at a poll chosen by the test, and records its calls.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace test_support {

class Stopper : public kx::kxProgressNotifierInterface {
public:
    /// Cancels at this poll, counted from 1, and at all later ones.
    explicit Stopper(long stopAt) : stopAt_(stopAt) {}
    bool isCanceled() const override {
        longestStep_ = std::max(longestStep_, done_ - doneAtQuestion_);
        doneAtQuestion_ = done_;
        return ++polls_ >= stopAt_;
    }
    void setTotal(double steps) override {
        total_ = steps;
        done_ = 0.0;
        doneAtQuestion_ = 0.0;
    }
    void getRange(double& start, double& end) const override {
        start = done_;
        end = total_;
    }
    void advance(double steps) override {
        EXPECT_GE(steps, 0.0);
        done_ += steps;
        EXPECT_LE(done_, total_);
    }
    long polls() const { return polls_; }
    double total() const { return total_; }
    double done() const { return done_; }
    /// The most steps between two questions.
    double longestStep() const { return longestStep_; }

private:
    long stopAt_;
    mutable long polls_ = 0;
    double total_ = 0.0;
    double done_ = 0.0;
    mutable double doneAtQuestion_ = 0.0;
    mutable double longestStep_ = 0.0;
};

} // namespace test_support
