// A program that asks for nothing of the platform by itself.

#include "Sql.h"

int main()
{
    return sql::Database().isOpen() ? 1 : 0;
}
