-- Types and functions of SQL Server that its statements need in a PostgreSQL database. Run as superuser.

create schema dbo authorization quinmarkapp_user;

-- `set ready_f = 1`: a bit column takes an integer. The built-in cast exists, but only for explicit use.
update pg_cast set castcontext = 'a'
 where castsource = 'integer'::regtype and casttarget = 'boolean'::regtype;

-- `full_name + ' (' + ...`
create operator dbo.+ (leftarg = text, rightarg = text, function = textcat);

create function dbo.isnull(value text, replacement text) returns text
    immutable parallel safe language sql
    return coalesce(value, replacement);

-- One reading for the whole statement, as on SQL Server; not the start of the transaction.
create function dbo.getdate() returns timestamp(3)
    stable parallel safe language sql
    return statement_timestamp()::timestamp(3);
