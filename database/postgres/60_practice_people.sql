-- Patients and the people who treat them. Every replicated table has its key in `unid` and the time of its last
-- change in `mod_date`; both databases have the same columns in the same order.

create table dentist_company (
    unid            uuid not null default gen_random_uuid() primary key,
    dc_id           integer not null unique,
    company_name    varchar(60) not null,
    address1        varchar(60),
    city            varchar(40),
    phone           varchar(20),
    monthly_fee     numeric(19,4),
    contract_f      boolean not null default false,
    mod_date        timestamp(3) not null default getdate()
);

create table dentist (
    unid            uuid not null default gen_random_uuid() primary key,
    dc_id           integer not null,
    dentist_id      integer not null,
    title           varchar(10),
    first_name      varchar(30),
    last_name       varchar(40) not null,
    address1        varchar(60),
    city            varchar(40),
    phone           varchar(20),
    commission      double precision,
    active_f        boolean not null default true,
    mod_date        timestamp(3) not null default getdate(),
    constraint UQ_dentist_company_number unique (dc_id, dentist_id)
);

create table specialist (
    unid            uuid not null default gen_random_uuid() primary key,
    title           varchar(10),
    first_name      varchar(30),
    last_name       varchar(40) not null,
    specialty       varchar(40),
    address1        varchar(60),
    phone           varchar(20),
    mod_date        timestamp(3) not null default getdate()
);

-- A run drops FK_patient_dentist, copies the tables in the order it was given and adds the key again.
create table patient (
    unid            integer not null primary key,
    full_name       varchar(90) not null,
    first_name      varchar(40),
    last_name       varchar(40),
    sex             char(1),
    birth_date      timestamp(3),
    file_no         char(8),
    address1        varchar(60),
    city            varchar(40),
    phone           varchar(20),
    dc_id           integer,
    dentist_id      integer,
    recall_months   smallint,
    balance         numeric(19,4),
    risk_score      double precision,
    household_id    uuid,
    remarks         varchar(500),
    active_f        boolean not null default true,
    lock_f          boolean not null default false,
    mod_date        timestamp(3) not null default getdate(),
    constraint FK_patient_dentist foreign key (dc_id, dentist_id) references dentist (dc_id, dentist_id)
);

create table patient_dates (
    unid            integer not null primary key,
    patient_id      integer not null,
    date_type       varchar(20) not null,
    event_date      timestamp(3),
    remarks         varchar(200),
    mod_date        timestamp(3) not null default getdate()
);

create table patient_spec_xref (
    unid            uuid not null default gen_random_uuid() primary key,
    patient_id      integer not null,
    spec_id         uuid not null,
    referral_date   timestamp(3),
    mod_date        timestamp(3) not null default getdate()
);

create table users (
    unid            integer not null primary key,
    user_name       varchar(40) not null,
    initials        char(3),
    access_level    smallint,
    active_f        boolean not null default true,
    mod_date        timestamp(3) not null default getdate()
);
