/* Asks the monitor of a printer something: ask-printer PRINTER REQUEST. The reply goes to standard output. */

#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <uchar.h>

#include "portwise/client.h"

/* Text of the locale as the library takes the names of printers; null when it is none, or there is no memory. */
static WCHAR* ToWide(const char* text) {
  const char* end = text + strlen(text) + 1;
  WCHAR* wide = calloc((size_t)(end - text), sizeof *wide);
  mbstate_t state = {0};
  for (size_t units = 0; wide && text < end; ++units) {
    char16_t unit;
    const size_t length = mbrtoc16(&unit, text, (size_t)(end - text), &state);
    if (length == (size_t)-1 || length == (size_t)-2) {
      free(wide);
      return NULL;
    }
    wide[units] = (WCHAR)unit;
    if (unit == 0) break;
    if (length != (size_t)-3) text += length; /* -3: the second half of a character */
  }
  return wide;
}

int main(int count, char** arguments) {
  if (count != 3) {
    fprintf(stderr, "usage: ask-printer PRINTER REQUEST\n");
    return 2;
  }
  setlocale(LC_ALL, "");
  WCHAR* printer = ToWide(arguments[1]);
  PortwiseResponse* response = NULL;
  const int answer = SendXPMLRequest(printer, arguments[2], &response);
  free(printer);
  if (answer == PORTWISE_NO_ANSWER) {
    fprintf(stderr, "ask-printer: no answer, error %lu\n", (unsigned long)GetLastError());
    return 1;
  }
  const int size = HTTPResponse_Size(response);
  char* reply = malloc((size_t)size + 1);
  const int length = reply ? HTTPResponse_Data(response, reply) : 0;
  HTTPResponse_Free(response);
  fprintf(stderr, "answered %s\n", answer == PORTWISE_ANSWERED_HTTP ? "over HTTP" : "through the spooler");
  const int done = reply && fwrite(reply, 1, (size_t)length, stdout) == (size_t)length && fflush(stdout) == 0;
  free(reply);
  return done ? 0 : 1;
}
