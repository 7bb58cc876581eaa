// DAO's error numbers and their texts: daoError() turns a number (and the
// name it is about) into the RuntimeError callers catch, with DAO's own
// wording. It relies on nothing but Dao.h; every other file of this layer
// raises its errors through it.
#include "platform/dao/Dao.h"

#include <string>

namespace ql::dao {

namespace {

std::string fill(const char* text, const std::string& name) {
    std::string out = text;
    if (auto p = out.find('|'); p != std::string::npos) out.replace(p, 1, name);
    return out;
}

}  // namespace

RuntimeError daoError(int number, const std::string& name) {
    const char* text = nullptr;
    switch (number) {
    case errors::CouldNotFindFile: text = "Could not find file '|'."; break;
    case errors::WorkgroupMissing:
        text = "Cannot start your application. The workgroup information file is missing or opened exclusively by "
               "another user.";
        break;
    case errors::BadAccount: text = "Not a valid account name or password."; break;
    case errors::BadPassword: text = "Not a valid password."; break;
    case errors::BadPath:
        text = "'|' is not a valid path.  Make sure that the path name is spelled correctly and that you are "
               "connected to the server on which the file resides.";
        break;
    case errors::NoObjectPermission:
        text = "You do not have the necessary permissions to use the '|' object.  Have your system administrator or "
               "the person who created this object establish the appropriate permissions for you.";
        break;
    case errors::CannotOpen:
        text = "Cannot open database '|'.  It may not be a database that your application recognizes, or the file "
               "may be corrupt.";
        break;
    case errors::NoFilePermission:
        text = "The Microsoft Jet database engine cannot open the file '|'.  It is already opened exclusively by "
               "another user, or you need permission to view its data.";
        break;
    case errors::QueryExpression: text = "Syntax error (missing operator) in query expression '|'."; break;
    case errors::InputMissing:
        text = "The Microsoft Jet database engine cannot find the input table or query '|'.  Make sure it exists and "
               "that its name is spelled correctly.";
        break;
    case errors::NoReadDefinitions:
        text = "Could not read definitions; no read definitions permission for table or query '|'.";
        break;
    case errors::NoReadPermission: text = "Record(s) cannot be read; no read permission on '|'."; break;
    case errors::FromClause: text = "Syntax error in FROM clause."; break;
    case errors::NotSupported: text = "Operation is not supported for this type of object."; break;
    case errors::ItemNotFound: text = "Item not found in this collection."; break;
    case errors::UnrecognizedFormat: text = "Unrecognized database format '|'."; break;
    case errors::InvalidStatement:
        text = "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'.";
        break;
    case errors::NoCurrentRecord: text = "No current record."; break;
    case errors::ObjectNotFound:
        text = "The Microsoft Jet database engine could not find the object '|'.  Make sure the object exists and "
               "that you spell its name and the path name correctly.";
        break;
    case errors::OdbcConnection: text = "ODBC--connection to '|' failed."; break;
    case errors::ObjectClosed: text = "Object invalid or no longer set."; break;
    default: return RuntimeError(number, "Reserved error (" + std::to_string(number) + "); there is no message for this error.");
    }
    return RuntimeError(number, fill(text, name));
}

}  // namespace ql::dao
