-- Lets the tests of the kit use a database, from which they delete all rows. Run it in both databases of the pair:
-- sqlcmd -b -d Office -i test_database.sql
-- It refuses a database that is in use.
if exists (select * from patient) or exists (select * from users) or exists (select * from dentist_company)
    or exists (select * from chart_hdr) or exists (select * from replication_conflict)
    or exists (select * from control where type = 'DBOffice' and id <> 'Norvale')
    raiserror('This database has rows, or the mark of an office, that no test made. Tests would destroy them.', 16, 1);
else
begin
    create table quinmark_test_database (
        rows_of_tests int not null
    );
    insert into quinmark_test_database (rows_of_tests) values (0);
end
go
