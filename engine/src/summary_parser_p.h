/*
 * Private to the receipt engine: not part of its interface.
 *
 * The summary records and their readers. Ownership and the readers' slot rule are those of the order
 * records (order_parser_p.h).
 */
#ifndef RECEIPT_ENGINE_SUMMARY_PARSER_P_H
#define RECEIPT_ENGINE_SUMMARY_PARSER_P_H

#include "order_parser_p.h"
#include "print_settings_parser_p.h"
#include "receipt_engine/receipt_engine.h"
#include "restaurant_parser_p.h"

#include <cjson/cJSON.h>

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ByteBuffer;

/* Totals of the period ("digest"). */
typedef struct SummaryDigest {
    int32_t orderCount;        /* "orderCount" */
    int32_t validOrderCount;   /* "validOrderCount" */
    int32_t invalidOrderCount; /* "invalidOrderCount" */
    float receivable;          /* "receivable" */
    float discount;            /* "discount" */
    float receipt;             /* "receipt" */
    float cashReceipt;         /* "cashReceipt" */
    float onlineReceipt;       /* "onlineReceipt" */
} SummaryDigest;

/* One order of the period (an entry of "items"). */
typedef struct SummaryOrder {
    char *orderId;             /* "orderId" */
    int32_t daySn;             /* "daySn" */
    char *status;              /* "status" (kept, not printed) */
    char *payment;             /* "payment": "online" marks an order paid online */
    int64_t createdTime;       /* "createdTime" */
    Accounting *accounting;    /* "accounting" */
    struct SummaryOrder *next; /* following order or NULL */
} SummaryOrder;

typedef struct Summary {
    int64_t beginTime;     /* "beginTime" */
    int64_t endTime;       /* "endTime" */
    SummaryDigest *digest; /* "digest" */
    SummaryOrder *orders;  /* "items", in order */
} Summary;

typedef struct SummaryDocument {
    Restaurant *restaurant;
    Summary *summary;
    EngineSummaryPrintSettings *printSettings;
} SummaryDocument;

/*
 * Parses the three texts into a new document stored in *document (stored on a reader's code too).
 * Returns 0; ENGINE_ERROR_INVALID_INPUT for a NULL argument; ENGINE_ERROR_RESTAURANT_JSON,
 * ENGINE_ERROR_SUMMARY_JSON or ENGINE_ERROR_SETTINGS_JSON for a text that does not parse; else the first
 * code of the restaurant, summary and settings readers.
 */
/* As parse_summary, reserving room for the receipt (reserve_receipt) before the JSON trees are freed. */
EngineError parse_summary_into(SummaryDocument **document, const char *restaurant_json, const char *summary_json,
                               const char *settings_json, struct ByteBuffer *receipt);

EngineError parse_summary(SummaryDocument **document, const char *restaurant_json, const char *summary_json,
                          const char *settings_json);

/* The readers: ENGINE_ERROR_SUMMARY_JSON, ENGINE_ERROR_DIGEST_SECTION and ENGINE_ERROR_SUMMARY_ORDERS for
   NULL arguments. */
EngineError read_summary(Summary **summary, const cJSON *object);
EngineError read_digest(SummaryDigest **digest, const cJSON *object);
EngineError read_summary_orders(SummaryOrder **orders, const cJSON *array);

/* Whether the restaurant, the summary and the settings exist. */
bool summary_document_is_complete(const SummaryDocument *document);

void destroy_summary_document(SummaryDocument **document);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_SUMMARY_PARSER_P_H */
