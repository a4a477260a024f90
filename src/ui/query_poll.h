#pragma once

#include <windows.h>

#include <string>

#include "core/ostring.h"
#include "ui/print_job.h"

namespace portwise {

class pmLocale;

/// What is known of the queries of a job.
struct QueryView {
  OString name;    ///< of the query that runs, or what keeps them all waiting
  OString status;  ///< of the query that runs
  LONG total = 0;  ///< 0 until it is known
  LONG complete = 0;
  ULONGLONG bytesSent = 0;
  ULONGLONG bytesReceived = 0;

  friend bool operator==(const QueryView&, const QueryView&) = default;
};

/// Follows the queries of one job through the monitor that prints it. One thread.
class QueryPoll {
 public:
  /// `locale` must outlive the poll.
  QueryPoll(const PrintJob& job, pmLocale& locale);

  /// Asks the printer for its status; false when there is none, and when it keeps the job from being printed, as the
  /// view then tells.
  bool CheckStatus();
  /// One look at the job and its queries, as far as they have come. What is not answered, or not as it should be, stays
  /// as it was.
  void Look();

  const QueryView& View() const { return view_; }
  bool IsComplete() const { return view_.total != 0 && view_.complete >= view_.total; }

 private:
  bool SeeJobBegin();
  bool LearnTotal();
  bool LearnProgress();
  void LearnCurrent();

  const PrintJob job_;
  pmLocale& locale_;
  QueryView view_;
  LONG current_ = 0;
  bool jobBegan_ = false;
};

}  // namespace portwise
