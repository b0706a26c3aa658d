-- The login of the component; its name is fixed, the password is the one hosts pass in.
-- Run once per cluster: psql -v password=... -f 05_login.sql
create role quinmarkapp_user login password :'password';
