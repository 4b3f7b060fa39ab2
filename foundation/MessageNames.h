// The names of the message classes and messages.  Station files key their
// "lifeline" policy by these names, byte for byte.  Depends on nothing, so the
// tests' default policy is built from this same table.
#ifndef BRAMBLEKIT_FOUNDATION_MESSAGENAMES_H_
#define BRAMBLEKIT_FOUNDATION_MESSAGENAMES_H_

// Names of the classes, found at index count-of-trailing-zeros(class) + 1
// (class 0 at index 0).
// clang-format off
inline constexpr const char* BKMessageClassNames[33] = {
    "BK_MSG_CLASS_UNCLASSIFIED", "BK_MSG_CLASS_API_ERROR", "BK_MSG_CLASS_COMM_ERR",
    "BK_MSG_CLASS_QUERY", "BK_MSG_CLASS_QUERY_RESPONSE", "BK_MSG_CLASS_QUERY_DELAYED_RESPONSE",
    "BK_MSG_CLASS_PROCESS_CONTROL",
    "", "", "", "", "", "", "", "", "", "", "", "", "",
    "", "", "", "", "", "", "", "", "", "", "", "", ""};
// clang-format on

// Names of the messages, by number.
inline constexpr const char* BKMessageNumberNames[36] = {
    "BK_MSG_ERROR_API_UNHANDLED", "BK_MSG_ERROR_UNIT_ID_INVALID", "BK_MSG_ERROR_UNIMPLEMENTED",
    "BK_MSG_ERROR_API_VERSION", "BK_MSG_ERROR_API_SYNTAX", "BK_MSG_ERROR_API_NO_ATTRIBUTE",
    "BK_MSG_ERROR_MARTEN_NOT_RUNNING", "BK_MSG_ERROR_FILESYSTEM", "BK_MSG_ERROR_NETWORK",
    "BK_MSG_ERROR_INVALID_SERIAL_NUMBER", "BK_MSG_ERROR_DCS_NOT_RESPONDING",
    "BK_MSG_ERROR_TRAX_NOT_RESPONDING", "BK_MSG_ERROR_KESTREL_NOT_RESPONDING",
    "BK_MSG_ERROR_NETWORK_NOT_RESPONDING", "BK_MSG_ERROR_ETHERNET_NOT_RESPONDING",
    "BK_MSG_ERROR_UNIT_OUT_OF_PROCESS", "BK_MSG_ERROR_INVALID_STATION_TYPE",
    "BK_MSG_ERROR_INVALID_SW_VERSION", "BK_MSG_ERROR_INVALID_BK_VERSION",
    "BK_MSG_ERROR_INVALID_MARTEN_VERSION", "BK_MSG_ERROR_INVALID_KSSTATIONINFO_VALUE",
    "BK_MSG_ERROR_INVALID_DATA_FORMAT", "STR_BK_MSG_ERROR_INVALID_SIGNATURE",
    "BK_MSG_UNIT_GOLDEN_UNIT", "BK_MSG_UNIT_OUTLIER", "BK_MSG_UNIT_ESCAPE",
    "BK_MSG_UNIT_FORCE_FAIL", "BK_MSG_UNIT_RECALL", "BK_MSG_UNIT_HOLD", "BK_MSG_UNIT_NOT_IN_SFC",
    "BK_MSG_STATION_SW_MISMATCH",
    // Two names run together: station files know message 31 by this key.
    "BK_MSG_STATION_OUTLIERBK_MSG_ERROR_INVALID_SIGNATURE", "BK_MSG_ERROR_INVALID_ATTRIBUTE",
    "BK_MSG_ERROR_SFC_QUERY_UNIT", "BK_MSG_ERROR_CANOPY_AMIOKAY", ""};

#endif  // BRAMBLEKIT_FOUNDATION_MESSAGENAMES_H_
