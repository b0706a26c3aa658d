-- The two databases of the pair, on one server, so that the prefixes Office.dbo. and Laptop.dbo. are valid on both
-- connections. Run once, as an administrator: sqlcmd -v Password="..." -i 00_database.sql
-- The name of the login is fixed in the component; it owns the databases because a run drops and adds FK_patient_dentist
-- and reads both from one connection.
create database Office;
create database Laptop;
go
create login quinmarkapp_user with password = '$(Password)', default_database = Office;
go
use Office;
create user quinmarkapp_user for login quinmarkapp_user;
alter role db_owner add member quinmarkapp_user;
go
use Laptop;
create user quinmarkapp_user for login quinmarkapp_user;
alter role db_owner add member quinmarkapp_user;
go
