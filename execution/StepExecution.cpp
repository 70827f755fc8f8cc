#include "execution/StepExecution.h"

namespace execution_detail {
std::atomic<ThreadStarter> gStartThread{&pthread_create};
}  // namespace execution_detail
