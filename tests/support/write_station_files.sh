#!/usr/bin/env bash
# Writes a sample station info file and health file under /vault and signs the
# station file, as the station-management agent would.  Sandbox only: it
# replaces the station files in /vault.
#
# usage: write_station_files.sh SIGN_TOOL STATION_PRIVATE_KEY.pem
set -euo pipefail
sign_tool="$1"
station_key="$2"

config=/vault/data_collection/test_station_config
mkdir -p "$config"
now=$(date +%s)
cat >"$config/ks_station_info.json" <<EOF
{
	"ksinfo" : {
		"SITE" : "DEMO",
		"PRODUCT" : "P42",
		"LINE_NUMBER" : "L01",
		"STATION_NUMBER" : "1",
		"STATION_TYPE" : "FUNCTIONAL-TEST",
		"STATION_ID" : "DEMO_L01_FUNCTIONAL-TEST_1",
		"STATION_DISPLAY_NAME" : "Demo functional test",
		"MAC" : "02:00:00:00:00:01",
		"SFC_URL" : "http://sfc.invalid/query",
		"SFC_QUERY_UNIT_ON_OFF" : "OFF",
		"SFC_TIMEOUT" : 15,
		"KSSI_LASTUPDATE_TIMEOUT" : 45,
		"MARTEN_NOT_RUNNING_TIMEOUT" : -1,
		"NETWORK_NOT_OK_TIMEOUT" : -1,
		"PDATA_TO_SEND_TO_TRAX" : [],
		"SIGNATURE_VERSION" : "1",
		"SIGNATURE_EXPIRATION" : $((now + 86400))
	},
	"lifeline" : {
		"BK_MSG_ERROR_API_SYNTAX" : 1,
		"BK_MSG_ERROR_API_UNHANDLED" : 1,
		"BK_MSG_ERROR_UNIT_ID_INVALID" : 1,
		"BK_MSG_ERROR_FILESYSTEM" : 1,
		"BK_MSG_ERROR_INVALID_DATA_FORMAT" : 1,
		"BK_MSG_ERROR_INVALID_SERIAL_NUMBER" : 1,
		"BK_MSG_ERROR_MARTEN_NOT_RUNNING" : 0,
		"BK_MSG_ERROR_ETHERNET_NOT_RESPONDING" : 1,
		"BK_MSG_ERROR_NETWORK_NOT_RESPONDING" : 1,
		"BK_MSG_ERROR_KESTREL_NOT_RESPONDING" : 0,
		"BK_MSG_ERROR_UNIT_OUT_OF_PROCESS" : 1,
		"BK_MSG_ERROR_SFC_QUERY_UNIT" : 1
	},
	"swversions" : {
		"bramblekit" : "00112233445566778899aabbccddeeff"
	},
	"controlbits" : {
		"CONTROL_BITS_TO_CHECK" : [ "0x0001", "0x0002" ],
		"STATION_FAIL_COUNT_ALLOWED" : 5
	}
}
EOF
cat >"$config/station_health_check.json" <<EOF
{
	"network_ok" : 1,
	"network_last_check_timestamp_int" : $now,
	"network_last_successful_check_int" : $now,
	"ethernet_ok" : 1,
	"ethernet_last_check_timestamp" : $now.5,
	"kssi_ok" : 1,
	"kssi_last_successful_check" : $now.5
}
EOF
"$sign_tool" "$station_key" "$config/ks_station_info.json" 1
