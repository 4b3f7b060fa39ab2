/* A station written in C against the installed header: one unit from start to
 * commit, reading its station id through the two-call station info query.
 *
 * usage: station EXPECTED_STATION_ID      exit 0 when the unit committed */
#include <bramblekit/Bramblekit.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

/* Frees the reply; a failure is printed and counted. */
static void settle(BKReplyHandle reply, const char* step) {
  if (!BK_success(reply)) {
    fprintf(stderr, "c station: %s: %s\n", step, BK_reply_getError(reply));
    ++failures;
  }
  BK_reply_destroy(reply);
}

/* The station id, by the documented protocol: length first, then a buffer of
 * length + 1 bytes.  NULL on failure; the caller frees the text. */
static char* stationId(UUTHandle unit) {
  unsigned long long length = 0;
  settle(BK_getKSStationInfo(unit, BK_KS_STATION_ID, NULL, &length), "station id length");
  char* text = malloc((size_t)length + 1);
  if (text == NULL) return NULL;
  BKReplyHandle reply = BK_getKSStationInfo(unit, BK_KS_STATION_ID, &text, &length);
  int ok = BK_success(reply);
  settle(reply, "station id");
  if (!ok) {
    free(text);
    return NULL;
  }
  return text;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: station EXPECTED_STATION_ID\n");
    return 2;
  }
  if (strcmp(BK_getVersion(), BK_VERSION_STRING) != 0) {
    fprintf(stderr, "c station: header %s, library %s\n", BK_VERSION_STRING, BK_getVersion());
    return 1;
  }
  UUTHandle unit = NULL;
  settle(BK_UUTStart(&unit), "start");
  if (unit == NULL) return 1;

  char* id = stationId(unit);
  if (id == NULL || strcmp(id, argv[1]) != 0) {
    fprintf(stderr, "c station: station id '%s', expected '%s'\n", id ? id : "(none)", argv[1]);
    ++failures;
  }
  free(id);

  settle(BK_addAttribute(unit, "serialnumber", "C0212000001"), "serial number");
  settle(BK_addAttribute(unit, "softwarename", "c-station"), "software name");
  settle(BK_addAttribute(unit, "softwareversion", "1.0.0"), "software version");
  settle(BK_addAttribute(unit, "limitsversion", "L-1"), "limits version");

  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, "power", 5);
  BK_testSpec_setSubTestName(spec, "rail_3v3", 8);
  BK_testSpec_setLimits(spec, "3.1", 3, "3.5", 3);
  BK_testSpec_setUnits(spec, "V", 1);
  BK_testResult_setResult(result, BK_PASS);
  BK_testResult_setValue(result, "3.30", 4);
  settle(BK_addResult(unit, spec, result), "result");
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);

  settle(BK_UUTDone(unit), "done");
  settle(BK_UUTCommit(unit, BK_PASS), "commit");
  BK_UID_destroy(unit);
  return failures == 0 ? 0 : 1;
}
