#pragma once

/// Error numbers of the database server for what is missing or denied.
enum ServerError : unsigned {
  kUnknownColumn = 1054,
  kTableDenied = 1142,
  kColumnDenied = 1143,
  kNoSuchTable = 1146,
  kNoSuchTrigger = 1360,
};
