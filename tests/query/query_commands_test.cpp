#include "xpml/port/query_commands.h"
#include "query/query_command_port.h"

#include <gtest/gtest.h>

#include "query/query_queue.h"
#include "query/request_list.h"
#include "query/status_events.h"
#include "xpml/document.h"

namespace portwise {
namespace {

using std::string_literals::operator""s;

struct Row {
  std::string request, reply;
};

class QueryCommandsTest : public testing::Test, protected QueryCommandPort {
 protected:
  QueryQueue& Queries() override { return queue; }
  RequestList& Requests() override { return list; }
  HANDLE QueryEvent() override { return events.Query(); }

  template <bool (*Command)(XPML_Document&, QueryCommandPort&)>
  static bool Call(XPML_Document& document, void* port) {
    return Command(document, *static_cast<QueryCommandPort*>(port));
  }

  void Run(const Row& row) {
    XPML_Document document;
    std::string reply;
    const auto append = [](XPML_Document& of, void* to) {
      static_cast<std::string*>(to)->append(of.PlainText());
      return true;
    };
    document.SetTextHandler(append, &reply);
    QueryCommandPort* const port = this;
    document.RegisterHandler("/query", Call<RunQuery>, port);
    document.RegisterHandler("/request", Call<RunRequest>, port);
    const std::string section = "<xpml>" + row.request + "</xpml>";
    document.Parse(section.data(), static_cast<int>(section.size()));
    EXPECT_EQ(reply, row.reply) << row.request;
  }

  QueryQueue queue;
  RequestList list;
  StatusEvents events;
};

TEST_F(QueryCommandsTest, RequestsAreCreatedReadAndChanged) {
  Run(
      {"<query id='Q' name='Query'>"
       "<request id='a' name='A' sendTimeout='-1' receiveStartTimeout='7' repeatInterval='x' startTime='-5' "
       "parameters='read=false;' responsePattern='&lt;ACK&gt;&#3;'>\x02\x01\x03\x05\x04\n\r\0x</request>"
       "<request id='b' name='B' expirationTime='90000'>B\0C</request></query>"s,
       ""});
  EXPECT_EQ(WaitForSingleObject(events.Query(), 0), WAIT_OBJECT_0);
  const QueryRequest request = *list.FindCopy("Q", "a");
  EXPECT_EQ(request.responsePattern, "<ACK>\x03");
  EXPECT_EQ(request.receiveStartTimeout, 7u);
  EXPECT_EQ(request.sendTimeout + request.repeatInterval + request.startTime + request.expirationTime, 0u);
  EXPECT_NE(list.FindCopy("Q", "b")->expirationTime, 0u);
  const Row rows[] = {
      {"<query id='*' get='requests'/>", "a\r\nb\r\n"},
      {"<query id='P' get='requests'/><request query='P' id='*' get='name'/>", ""},
      {"<query id='Q' action='cancel'/><query id='*' action='RETRY'/>", ""},
      {"<request query='Q' id='#2' get='status'/><request query='Q' id='#0' get='status'/>", "3"},
      {"<request query='*' id='*' get='name'>dropped</request><request query='Q' id='#3' get='name'/>", "A"},
      {"<request query='Q' id='b' get='command'/>", "B\0C"s},
      {"<request query='Q' id='a' name='A' get='Status'/>", "3"},
      {"<request query='Q' id='B' get='status'/><request query='Q' id='a' get='other'/>", ""},
      {"<request id='x'>dropped</request><request name='x'>dropped</request>", ""},
      {"<request query='Q' id='a' get='dump'/>",
       "Query ID: Q\r\nQuery Name: Query\r\nID: a\r\nName: A\r\nStatus: Cancelled\r\n"
       "Command: [STX][SOH][ETX][ENQ]\x04[LF][CR]\r\nResponse: \r\n"}};
  for (const Row& row : rows) Run(row);
  EXPECT_EQ(list.ListIds("*").size(), 2u);
}

TEST_F(QueryCommandsTest, TheQueueIsFilledAndFollowed) {
  Run({"a<query action='Execute' name='first'>~HS\0x</query>b<query action='execute' name='second'/>"s, "ab"});
  ASSERT_TRUE(queue.QueriesAdded() && queue.BeginQueries());
  const QueryQueue::Step step = *queue.CurrentStep();
  EXPECT_EQ(step.command, "~HS\0x"s);
  queue.CountRead(step.run, 3);
  queue.CountRead(step.run, 0xFFFFFFFE);
  queue.CountWritten(step.run, 12);
  queue.Complete(step.run, "OK\0!"s);
  const Row rows[] = {{"value='total'", "2"},
                      {"value='Current'", "1"},
                      {"value='complete'", "1"},
                      {"value='current name'", "second"},
                      {"value='status'", "-1"},
                      {"value='bytes read'", "4294967295"},
                      {"value='BYTES WRITTEN'", "12"},
                      {"value='display status'", "Querying"},
                      {"value='name' index='0'", "first"},
                      {"value='name' index='7'", ""},
                      {"value='response' index='0'", "OK\0!"s},
                      {"value='response' index='7' name='first'", ""},
                      {"value='response' name='first'", "OK\0!"s},
                      {"value='response' name='First'", ""},
                      {"value='nothing'", ""}};
  for (const Row& row : rows) Run({"<query action='get' " + row.request + ">x</query>", row.reply});
  Run({"<query action='cancel'/><query action='get' value='status'/>", "3"});
  EXPECT_FALSE(queue.CurrentStep().has_value() || queue.IsQuerying());
}

}  // namespace
}  // namespace portwise
