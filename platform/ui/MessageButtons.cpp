#include "platform/ui/Ui.h"

namespace ql::ui {

std::vector<Answer> answersOf(Buttons buttons) {
    switch (buttons) {
    case Buttons::OK: return {Answer::OK};
    case Buttons::OKCancel: return {Answer::OK, Answer::Cancel};
    case Buttons::AbortRetryIgnore: return {Answer::Abort, Answer::Retry, Answer::Ignore};
    case Buttons::YesNoCancel: return {Answer::Yes, Answer::No, Answer::Cancel};
    case Buttons::YesNo: return {Answer::Yes, Answer::No};
    case Buttons::RetryCancel: return {Answer::Retry, Answer::Cancel};
    }
    return {Answer::OK};
}

Answer defaultAnswer(const Message& message) {
    const std::vector<Answer> answers = answersOf(message.buttons);
    const auto i = static_cast<std::size_t>(message.defaultButton);
    return i < answers.size() ? answers[i] : answers.front();
}

}  // namespace ql::ui
