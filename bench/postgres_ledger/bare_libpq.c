/* The least that appending one event can cost with libpq: one connection, one call. Argument: the
   id. Nothing is read, limited or looked at but the verdict. */
#include <libpq-fe.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  char ids[256];
  snprintf(ids, sizeof ids, "{%s}", argv[1]);
  const char* values[] = {"bare", ids, "{x}"};
  PGconn* connection = PQconnectdb("");
  PGresult* result =
      PQexecParams(connection, "SELECT verdicts FROM ledger.append($1, $2::text[], $3::bytea[])", 3,
                   NULL, values, NULL, NULL, 0);
  const int added = PQntuples(result) == 1 && strcmp(PQgetvalue(result, 0, 0), "{added}") == 0;
  PQclear(result);
  PQfinish(connection);
  return added ? 0 : 1;
}
