/*
 * Private to the receipt engine: not part of its interface.
 *
 * The order records and their readers. Every record and string is a tracked block owned by its parent;
 * nothing points into the JSON tree. A field whose key is absent stays NULL, 0 or false.
 *
 * Each section reader takes the address of the slot to fill and the JSON item to read. It stores a new
 * record in the slot, releasing the record the slot held (a key given twice: the later one wins), and it
 * stores it even when it returns a code, so that destroying the parent frees what was built.
 */
#ifndef RECEIPT_ENGINE_ORDER_PARSER_P_H
#define RECEIPT_ENGINE_ORDER_PARSER_P_H

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

typedef struct OrderGeneral {
    char *kind;           /* "waimai" online; a local order's "localOrderType" ("dine", "phone") */
    int32_t daySn;        /* "daySn": serial of the day */
    int64_t createdTime;  /* "createdTime": seconds since 1970 */
    char *payment;        /* "payment" (online only): "online" when paid online */
    int32_t isBooked;     /* type tag of "isBooked" (online only) */
    int64_t bookedTime;   /* "bookedTime" (online only): promised delivery time */
    char *remark;         /* "remark" */
    int32_t isInvoiced;   /* type tag of "isInvoiced" */
    char *invoiceTitle;   /* "invoiceTitle" */
} OrderGeneral;

/* One entry of a phone list. */
typedef struct PhoneNumber {
    char *number;             /* the number as given */
    struct PhoneNumber *next; /* following entry or NULL */
} PhoneNumber;

typedef struct Consignee {
    char *name;          /* customer name */
    PhoneNumber *phones; /* in the order given */
    char *address;       /* delivery address */
    char *tableNumber;   /* local orders: "table"."number" */
    int32_t peopleCount; /* local orders: "table"."peopleCount" */
    int32_t isFollower;  /* type tag of "isFollower" (online only) */
} Consignee;

/* Amounts of an order (also of each summary row). */
typedef struct Accounting {
    float receivable; /* "receivable": due before discount */
    float discount;   /* "discount" */
    float receipt;    /* "receipt": actually charged */
} Accounting;

/* An item; additions use the same record, to any depth. */
typedef struct OrderItem {
    char *name;                /* "name": the last string one, in the item's own block (see read_item) */
    float price;               /* "price": unit price */
    int32_t quantity;          /* "quantity" */
    int32_t displayQuantity;   /* type tag of "displayQuantity"; 1 when the key is absent */
    struct OrderItem *additions; /* "additions", in order */
    struct OrderItem *next;    /* following item or NULL */
} OrderItem;

typedef struct ItemGroup {
    char *name;             /* "name" */
    char *type;             /* "type": "discount" and "extra" mean something to the engine */
    OrderItem *items;       /* "items", in order */
    struct ItemGroup *next; /* following group or NULL */
} ItemGroup;

typedef struct OrderDetail {
    ItemGroup *groups;      /* "groups", in order, with the extra group holding every discount line */
    Accounting *accounting; /* "accounting" */
} OrderDetail;

typedef struct Order {
    char *id;               /* "id" */
    OrderGeneral *general;  /* "general" */
    Consignee *consignee;   /* online: "consignee" or "user"; local: "customer" and "table" */
    OrderDetail *detail;    /* "detail" */
} Order;

/* Everything one order job prints from. */
typedef struct OrderDocument {
    Restaurant *restaurant;
    Order *order;
    EnginePrintSettings *printSettings;
} OrderDocument;

/* Name and type of the group that collects the extra and discount lines. */
#define EXTRA_GROUP_NAME "其他"
#define EXTRA_GROUP_TYPE "extra"
#define DISCOUNT_GROUP_TYPE "discount"

/*
 * Parses the three texts of an online (local) order into a new document stored in *document; on a code
 * after the document was made it is stored too, for destroy_order_document. Returns 0;
 * ENGINE_ERROR_INVALID_INPUT for a NULL argument; ENGINE_ERROR_RESTAURANT_JSON, ENGINE_ERROR_ORDER_JSON or
 * ENGINE_ERROR_SETTINGS_JSON for a text that does not parse (*document untouched); else the first code of
 * the restaurant, order and settings readers.
 */
EngineError parse_online_order(OrderDocument **document, const char *restaurant_json, const char *order_json,
                               const char *settings_json);
EngineError parse_local_order(OrderDocument **document, const char *restaurant_json, const char *order_json,
                              const char *settings_json);

/* The order object readers: ENGINE_ERROR_ORDER_OBJECT for NULL arguments. */
/* As parse_online_order and parse_local_order, reserving room for the receipt (reserve_receipt) once the
   document is read and before the JSON trees are freed. */
EngineError parse_online_order_into(OrderDocument **document, const char *restaurant_json, const char *order_json,
                                    const char *settings_json, struct ByteBuffer *receipt);
EngineError parse_local_order_into(OrderDocument **document, const char *restaurant_json, const char *order_json,
                                   const char *settings_json, struct ByteBuffer *receipt);

EngineError read_online_order(Order **order, const cJSON *object);
EngineError read_local_order(Order **order, const cJSON *object);

/* The section readers, each with its own code for NULL arguments (see receipt_engine.h). */
EngineError read_online_general(OrderGeneral **general, const cJSON *object);
EngineError read_local_general(OrderGeneral **general, const cJSON *object);
EngineError read_online_consignee(Consignee **consignee, const cJSON *object);
/* Reads "customer" and "table" among the members of the local order object into *consignee. */
EngineError read_local_consignee(Consignee **consignee, const cJSON *order_object);
EngineError read_detail(OrderDetail **detail, const cJSON *object);
EngineError read_accounting(Accounting **accounting, const cJSON *object);
EngineError read_item_group(ItemGroup **group, const cJSON *object);
EngineError read_item(OrderItem **item, const cJSON *object);

/*
 * Moves every item of source to the end of the detail's first "extra" group, adding an empty extra group
 * at the end of the list when there is none. Nothing happens when either is NULL. Returns 0, or
 * ENGINE_ERROR_NO_MEMORY with nothing moved.
 */
EngineError merge_into_extra_group(ItemGroup *source, OrderDetail *detail);

/* Whether the document has everything the layout needs (restaurant name, order id, kind, consignee, ...). */
bool order_document_is_complete(const OrderDocument *document);

/* Whether the detail, its first group (name, type) and that group's first item (name) and the accounting
   exist. Later groups are not looked at. */
bool order_detail_is_complete(const OrderDetail *detail);

/* True for "waimai", "dine" and "phone". */
bool is_known_order_kind(const char *kind);

void destroy_order_document(OrderDocument **document);
void destroy_order(Order **order);
void destroy_detail(OrderDetail **detail);
void free_item_groups(ItemGroup **groups);
void free_items(OrderItem **items);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_ORDER_PARSER_P_H */
