-- Patients and the people who treat them. Every replicated table has its key in `unid` and the time of its last
-- change in `mod_date`; both databases have the same columns in the same order.

create table dbo.dentist_company (
    unid            uniqueidentifier not null default newid() primary key,
    dc_id           int not null unique,
    company_name    varchar(60) not null,
    address1        varchar(60),
    city            varchar(40),
    phone           varchar(20),
    monthly_fee     money,
    contract_f      bit not null default 0,
    mod_date        datetime not null default getdate()
);

create table dbo.dentist (
    unid            uniqueidentifier not null default newid() primary key,
    dc_id           int not null,
    dentist_id      int not null,
    title           varchar(10),
    first_name      varchar(30),
    last_name       varchar(40) not null,
    address1        varchar(60),
    city            varchar(40),
    phone           varchar(20),
    commission      float,
    active_f        bit not null default 1,
    mod_date        datetime not null default getdate(),
    constraint UQ_dentist_company_number unique (dc_id, dentist_id)
);

create table dbo.specialist (
    unid            uniqueidentifier not null default newid() primary key,
    title           varchar(10),
    first_name      varchar(30),
    last_name       varchar(40) not null,
    specialty       varchar(40),
    address1        varchar(60),
    phone           varchar(20),
    mod_date        datetime not null default getdate()
);

-- A run drops FK_patient_dentist, copies the tables in the order it was given and adds the key again.
create table dbo.patient (
    unid            int not null primary key,
    full_name       varchar(90) not null,
    first_name      varchar(40),
    last_name       varchar(40),
    sex             char(1),
    birth_date      datetime,
    file_no         char(8),
    address1        varchar(60),
    city            varchar(40),
    phone           varchar(20),
    dc_id           int,
    dentist_id      int,
    recall_months   smallint,
    balance         money,
    risk_score      float,
    household_id    uniqueidentifier,
    remarks         varchar(500),
    active_f        bit not null default 1,
    lock_f          bit not null default 0,
    mod_date        datetime not null default getdate(),
    constraint FK_patient_dentist foreign key (dc_id, dentist_id) references dbo.dentist (dc_id, dentist_id)
);

create table dbo.patient_dates (
    unid            int not null primary key,
    patient_id      int not null,
    date_type       varchar(20) not null,
    event_date      datetime,
    remarks         varchar(200),
    mod_date        datetime not null default getdate()
);

create table dbo.patient_spec_xref (
    unid            uniqueidentifier not null default newid() primary key,
    patient_id      int not null,
    spec_id         uniqueidentifier not null,
    referral_date   datetime,
    mod_date        datetime not null default getdate()
);

create table dbo.users (
    unid            int not null primary key,
    user_name       varchar(40) not null,
    initials        char(3),
    access_level    smallint,
    active_f        bit not null default 1,
    mod_date        datetime not null default getdate()
);
go
