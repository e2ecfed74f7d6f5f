// The line breaks of the text log.
#include "log/KvLogRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <string>

namespace {

std::string wrap(const std::string& message) {
    KvSimpleString out;
    appendWrapped(out, message.c_str(), message.size(), "\n");
    return out.c_str();
}

std::string run(size_t count, char ch = 'x') {
    return std::string(count, ch);
}

// The rules once more, step by step on one growing text, without a thought for speed.
class Oracle {
  public:
    explicit Oracle(std::string text) : text_(std::move(text)) {}

    std::string wrapped() {
        size_t p = 0;
        while (p < text_.size()) {
            const size_t feed = text_.find('\n', p);
            if (feed == std::string::npos && text_.size() - p < 76) {
                break;
            }
            if (feed != std::string::npos && feed - p <= 75) {
                p = feed + 1;
                continue;
            }
            const size_t b = breakPoint(p);
            if (b < text_.size()) {
                text_.insert(b, "\n");
            }
            p = b + 1;
        }
        return text_;
    }

  private:
    static bool isSeparator(char ch) {
        static const std::string word =
            "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
        return word.find(ch) == std::string::npos;
    }

    size_t breakPoint(size_t p) const {
        size_t b = p + 75;
        if (isSeparator(text_[b])) {
            while (b < text_.size() && isSeparator(text_[b])) {
                ++b;
            }
            return b;
        }
        size_t first = p + 75;
        while (first > 0 && !isSeparator(text_[first - 1])) {
            --first;
        }
        size_t end = p + 76;
        while (end < text_.size() && !isSeparator(text_[end])) {
            ++end;
        }
        return end - first > 15 ? b : first;
    }

    std::string text_;
};

std::string randomMessage(std::mt19937& random) {
    const auto upTo = [&random](size_t most) { return random() % (most + 1); };
    const std::string words = "azAZ09_";
    const std::string separators = " \t-./,\x80\xff";
    const size_t longestWord = 1 + upTo(upTo(3) == 0 ? 200 : 20);
    const size_t longestGap = 1 + upTo(upTo(9) == 0 ? 90 : 2);
    const size_t feedEvery = 1 + upTo(40);
    const size_t length = upTo(500);
    std::string message;
    while (message.size() < length) {
        message.append(upTo(longestWord), words[upTo(words.size() - 1)]);
        message.append(upTo(longestGap), separators[upTo(separators.size() - 1)]);
        if (upTo(feedEvery) == 0) {
            message += upTo(3) == 0 ? "\n\n" : "\n";
        }
    }
    return message;
}

}  // namespace

TEST(KvLogWrap, LeavesWhatFitsAlone) {
    for (const std::string& message :
         {std::string(), std::string("x"), run(75), run(75) + "\n", run(75) + "\n" + run(75),
          std::string("\n"), std::string("\n\n\n"), run(30) + " \n" + run(40)}) {
        EXPECT_EQ(wrap(message), message);
    }
}

TEST(KvLogWrap, CutsALongWordEvery75Characters) {
    EXPECT_EQ(wrap(run(76)), run(75) + "\n" + run(1));
    EXPECT_EQ(wrap(run(150)), run(75) + "\n" + run(75));
    EXPECT_EQ(wrap(run(200)), run(75) + "\n" + run(75) + "\n" + run(50));
}

TEST(KvLogWrap, MovesAWordOfUpTo15CharactersToTheNextLine) {
    EXPECT_EQ(wrap(run(70) + " " + run(15, 'w')), run(70) + " \n" + run(15, 'w'));
    EXPECT_EQ(wrap(run(60) + " " + run(15, 'w')), run(60) + " \n" + run(15, 'w'));
    EXPECT_EQ(wrap(run(70) + " " + run(16, 'w')), run(70) + " wwww\n" + run(12, 'w'));
    EXPECT_EQ(wrap(run(60) + " " + run(16, 'w')), run(60) + " " + run(14, 'w') + "\nww");
}

TEST(KvLogWrap, MeasuresTheWordOnBothSidesOfTheLimit) {
    // The 76th character is the last, the first and a middle one of its word.
    EXPECT_EQ(wrap(run(60) + " " + run(15, 'w') + " y"), run(60) + " \n" + run(15, 'w') + " y");
    EXPECT_EQ(wrap(run(74) + " " + run(15, 'w')), run(74) + " \n" + run(15, 'w'));
    EXPECT_EQ(wrap(run(74) + " " + run(16, 'w')), run(74) + " \n" + run(16, 'w'));
    EXPECT_EQ(wrap(run(68) + "-" + run(8, '_') + run(7, '9') + "."),
              run(68) + "-\n" + run(8, '_') + run(7, '9') + ".");
}

TEST(KvLogWrap, LeavesSeparatorsAtTheEndOfTheLine) {
    EXPECT_EQ(wrap(run(75) + " next"), run(75) + " \nnext");
    EXPECT_EQ(wrap(run(75) + "  .. next"), run(75) + "  .. \nnext");
    EXPECT_EQ(wrap(run(74) + "  next"), run(74) + "  \nnext");
}

TEST(KvLogWrap, PutsNothingAtTheEndOfTheMessage) {
    EXPECT_EQ(wrap(run(75) + "."), run(75) + ".");
    EXPECT_EQ(wrap(run(75) + run(300, ' ')), run(75) + run(300, ' '));
    EXPECT_EQ(wrap(run(75) + " \n"), run(75) + " \n");
}

TEST(KvLogWrap, BreaksALineWhoseLineFeedComesTooLate) {
    EXPECT_EQ(wrap(run(76) + "\nnext"), run(75) + "\nx\nnext");
    EXPECT_EQ(wrap(run(70) + " seventyseven\nnext"), run(70) + " \nseventyseven\nnext");
}

// A line feed is a separator like any other, so an own break can follow the message's.
TEST(KvLogWrap, CountsALineFeedBehindTheLimitAsASeparator) {
    EXPECT_EQ(wrap(run(75) + " \nnext"), run(75) + " \n\nnext");
    EXPECT_EQ(wrap(run(75) + " \n\n - next"), run(75) + " \n\n - \nnext");
}

TEST(KvLogWrap, WritesTheGivenBreakForEveryLineFeed) {
    KvSimpleString out("head ");
    const std::string message = run(75) + " \nnext\nlast\n";
    appendWrapped(out, message.c_str(), message.size(), "\n  ");
    EXPECT_EQ(out.c_str(), "head " + run(75) + " \n  \n  next\n  last\n  ");
}

TEST(KvLogWrap, AgreesWithTheRulesOnRandomMessages) {
    std::mt19937 random(20240101);
    for (int i = 0; i < 8000; ++i) {
        const std::string message = randomMessage(random);
        ASSERT_EQ(wrap(message), Oracle(message).wrapped()) << "message " << i << ": " << message;
    }
}

namespace {

// Of the processor, so that other programs do not count.
double secondsFor(const std::string& message) {
    double best = 1e9;
    for (int i = 0; i < 5; ++i) {
        const std::clock_t start = std::clock();
        KvSimpleString out;
        appendWrapped(out, message.c_str(), message.size(), "\n  ");
        best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return best;
}

std::string repeated(const std::string& piece, size_t length) {
    std::string text;
    while (text.size() < length) {
        text += piece;
    }
    return text;
}

}  // namespace

// Sixteen times the text takes sixteen times as long; a second look at the rest for every line
// would make it 256.
TEST(KvLogWrap, TakesTimeInProportionToTheMessage) {
    for (const std::string& piece : {run(1), run(1, ' '), std::string("word "), std::string("\n"),
                                     run(75) + " \n", run(76) + " "}) {
        const double little = secondsFor(repeated(piece, 10000));
        const double much = secondsFor(repeated(piece, 160000));
        EXPECT_LT(much, 80 * little + 0.002) << "made of \"" << piece << "\"";
    }
}
